// Tests that need a folder of their own, which goes with them.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

class ScratchFolderTest : public testing::Test {
protected:
    ScratchFolderTest() {
        std::string name = (std::filesystem::temp_directory_path() / "k4-XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    ~ScratchFolderTest() override { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
};
