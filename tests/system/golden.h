// Texts as they were written down in golden/. A wanted change is written down by `make golden`,
// and reviewed as the difference of the files.
#pragma once

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace k4test {

inline void expect_as_written_down(const std::string& name, const std::string& text) {
    const std::string path = K4_GOLDEN "/" + name + ".txt";
    if (std::getenv("K4_RENEW_GOLDEN") != nullptr) {
        ASSERT_TRUE(std::ofstream(path) << text);
    }
    std::stringstream golden;
    golden << std::ifstream(path).rdbuf();
    EXPECT_EQ(text, golden.str());
}

} // namespace k4test
