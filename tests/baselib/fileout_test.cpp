#include "baselib/print/fileout.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Fileout, WritesWhereItStands) {
    const std::string path = testing::TempDir() + "fileout_test";
    std::ofstream(path) << "an older and longer text";
    {
        KLTfileout file(path.c_str());
        EXPECT_EQ(file.ostring("abcdef\n"), 0);
        EXPECT_EQ(file.oseek(1), 0);
        EXPECT_EQ(file.ochar('B'), 1);
        EXPECT_EQ(file.oskip(2), 0);
        EXPECT_EQ(file.oblock("E\0", 2), 0);
        EXPECT_EQ(file.oskip(-6), 0);
        EXPECT_EQ(file.oskip(-1), EOF) << "before the start";
        EXPECT_EQ(file.opos(), 0);
        EXPECT_EQ(file.oseek(9), 0);
        EXPECT_EQ(file.osize(), 7);
        EXPECT_EQ(file.opos(), 9);
        EXPECT_EQ(file.ochar('!'), 1);
        EXPECT_EQ(file.osize(), 10) << "with what is buffered";
        EXPECT_EQ(file.ochar('?'), 1);
        EXPECT_EQ(contentsOf(path).size(), 10U);
        file.oflush(true);
        EXPECT_EQ(contentsOf(path).size(), 11U);
    }
    EXPECT_EQ(contentsOf(path), std::string("aBcdE\0\n\0\0!?", 11));
    EXPECT_EQ(std::remove(path.c_str()), 0);
}

TEST(Fileout, AnswersWithoutAFile) {
    KLTfileout file("/nowhere/at/all");
    EXPECT_EQ(file.ochar('x'), -6842);
    EXPECT_EQ(file.oblock("x", 1), -6842);
    EXPECT_EQ(file.ostring("x"), -6842);
    EXPECT_EQ(file.opos(), -6842);
    EXPECT_EQ(file.oseek(0), -6842);
    EXPECT_EQ(file.oskip(1), -6842);
    EXPECT_EQ(file.osize(), -6842);
    file.oflush(true);
}

} // namespace
