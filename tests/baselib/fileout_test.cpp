#include "baselib/print/fileout.h"

#include "support/scratch_folder.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>

namespace {

std::string contents_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Fileout, WritesWhereItStands) {
    const ScratchFolder folder;
    const std::string path = folder.file("out");
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
        EXPECT_EQ(contents_of(path).size(), 10U);
        file.oflush(true);
        EXPECT_EQ(contents_of(path).size(), 11U);
        EXPECT_EQ(file.ofull(), 0);
    }
    EXPECT_EQ(contents_of(path), std::string("aBcdE\0\n\0\0!?", 11));
}

TEST(Fileout, AnswersWithoutAFile) {
    KLTfileout file("/nowhere/at/all");
    EXPECT_EQ(file.opos(), -6842);
    EXPECT_EQ(file.oseek(0), -6842);
    EXPECT_EQ(file.oskip(1), -6842);
    EXPECT_EQ(file.osize(), -6842);
}

using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

TEST(OutHandle, TranslatesLineEndsOfCharactersAndStrings) {
    const ScratchFolder folder;
    for (const bool translate : {false, true}) {
        const Stream stream(fopen(folder.file("out").c_str(), "wb"), fclose);
        KLToutHandle handle(stream.get(), translate);
        EXPECT_EQ(handle.ochar('\n'), 1);
        EXPECT_EQ(handle.ochar(0x1FF), 1);
        EXPECT_EQ(handle.ostring("a\nb"), 0);
        EXPECT_EQ(handle.oblock("\0\n", 2), 0);
        handle.oflush(false);
        EXPECT_EQ(contents_of(folder.file("out")), translate ? std::string("\r\n\xff"
                                                                           "a\r\nb\0\n",
                                                                           9)
                                                             : std::string("\n\xff"
                                                                           "a\nb\0\n",
                                                                           7));
    }
}

TEST(OutHandle, RefusesWithoutDataOrStreamAndWhereTheStreamDoes) {
    const Stream reader(fopen("/dev/null", "r"), fclose);
    const std::pair<FILE*, int> cases[] = {{reader.get(), EOF}, {nullptr, -6842}};
    for (const auto& [stream, failure] : cases)
        for (const bool translate : {false, true}) {
            KLToutHandle handle(stream, translate);
            EXPECT_EQ(handle.ochar('\n'), failure);
            EXPECT_EQ(handle.oblock("x", 1), failure);
            EXPECT_EQ(handle.ostring("x"), stream != nullptr && translate ? 0 : failure);
            EXPECT_EQ(handle.ostring(nullptr), -6848);
            EXPECT_EQ(handle.oblock(nullptr, 1), -6848);
            EXPECT_EQ(handle.oblock("x", 0), -6848);
            handle.oflush(true);
        }
}

} // namespace
