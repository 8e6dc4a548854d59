#include "baselib/bmp.h"

#include "support/scratch_folder.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Bmp : testing::Test {
    std::string contents() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    int write(int width, int height) const {
        return KLFwriteBmp(path.c_str(), width, height, pixels.data());
    }
    long files() const { return std::distance(fs::directory_iterator(folder.path()), {}); }

    ScratchFolder folder;
    std::string path = folder.file("picture.bmp");
    std::vector<unsigned int> pixels = std::vector<unsigned int>(16384);
};

// Two rows of three pixels, put together by hand from the format's description.
TEST_F(Bmp, HasTheBytesOfTheFormat) {
    pixels = {0x112233, 0x445566, 0x778899, 0xAABBCC, 0xDDEEFF, 0xFF010203};
    ASSERT_EQ(write(3, 2), 0);
    const unsigned char expected[] = {
        'B', 'M', 78,   0,    0,    0,    0,    0,    0,    0,    54,   0,    0,    0,    40,   0,
        0,   0,   3,    0,    0,    0,    2,    0,    0,    0,    1,    0,    24,   0,    0,    0,
        0,   0,   24,   0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0,   0,   0,    0,    0,    0,    0xCC, 0xBB, 0xAA, 0xFF, 0xEE, 0xDD, 0x03, 0x02, 0x01, 0,
        0,   0,   0x33, 0x22, 0x11, 0x66, 0x55, 0x44, 0x99, 0x88, 0x77, 0,    0,    0};
    EXPECT_EQ(contents(), std::string(std::begin(expected), std::end(expected)));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0644));
    EXPECT_EQ(files(), 1);
}

TEST_F(Bmp, LeavesNothingAfterAFailure) {
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {16385, 1}, {1, 16385}})
        EXPECT_EQ(write(width, height), KLFbmpErrorSize);
    fs::create_directories(fs::path(path) / "full"); // the rename fails
    for (const std::string& name : {path, folder.file("no/picture.bmp"), std::string()})
        EXPECT_EQ(KLFwriteBmp(name.c_str(), 16384, 1, pixels.data()), KLFbmpErrorFile);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(files(), 1);
}

// A process that may write no longer files, as on a full disk.
TEST_F(Bmp, KeepsTheOlderFileWhenAWriteFails) {
    std::ofstream(path) << "older";
    const auto writeOnAFullDisk = [this] {
        const rlimit limit{4096, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        const int unused = dup(0); // and so again when the write has closed its file
        close(unused);
        const int status = write(100, 100);
        exit(status == KLFbmpErrorFile && dup(0) == unused ? 0 : 1);
    };
    EXPECT_EXIT(writeOnAFullDisk(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(contents(), "older");
    EXPECT_EQ(files(), 1);
    EXPECT_EQ(write(1, 16384), 0);
    EXPECT_EQ(contents().size(), 54U + 16384U * 4);
}

} // namespace
