#include "baselib/bmp.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

class Bmp : public testing::Test {
protected:
    Bmp() {
        std::string pattern = (fs::temp_directory_path() / "bmp_test.XXXXXX").string();
        folder = mkdtemp(pattern.data());
        path = (folder / "picture.bmp").string();
    }
    ~Bmp() override { fs::remove_all(folder); }

    std::string contents() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    fs::path folder;
    std::string path;
};

} // namespace

// Two rows of three pixels, put together by hand from the format's description.
TEST_F(Bmp, WritesTheBytesOfTheFormat) {
    const unsigned int pixels[] = {0x112233, 0x445566, 0x778899, 0xAABBCC, 0xDDEEFF, 0xFF010203};
    ASSERT_EQ(KLFwriteBmp(path.c_str(), 3, 2, pixels), 0);
    const unsigned char expected[] = {
        'B', 'M', 78,   0,    0,    0,    0,    0,    0,    0,    54,   0,    0,    0,    40,   0,
        0,   0,   3,    0,    0,    0,    2,    0,    0,    0,    1,    0,    24,   0,    0,    0,
        0,   0,   24,   0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0,   0,   0,    0,    0,    0,    0xCC, 0xBB, 0xAA, 0xFF, 0xEE, 0xDD, 0x03, 0x02, 0x01, 0,
        0,   0,   0x33, 0x22, 0x11, 0x66, 0x55, 0x44, 0x99, 0x88, 0x77, 0,    0,    0};
    EXPECT_EQ(contents(), std::string(std::begin(expected), std::end(expected)));
    EXPECT_EQ(filesInFolder(), 1U);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0644));
}

TEST_F(Bmp, AFailureLeavesNothing) {
    const unsigned int pixel = 0;
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {16385, 1}, {1, 16385}})
        EXPECT_EQ(KLFwriteBmp(path.c_str(), width, height, &pixel), KLFbmpErrorSize);
    EXPECT_EQ(filesInFolder(), 0U);
    fs::create_directories(fs::path(path) / "full"); // the rename fails
    const std::string missing = (folder / "no" / "picture.bmp").string();
    for (const std::string& name : {path, missing, std::string()})
        EXPECT_EQ(KLFwriteBmp(name.c_str(), 1, 1, &pixel), KLFbmpErrorFile);
    EXPECT_EQ(filesInFolder(), 1U);
}

// A process that may write no longer files, as on a full disk.
TEST_F(Bmp, AFailedWriteLeavesTheOlderFileAndNothingElse) {
    const std::vector<unsigned int> pixels(100 * 100, 0x123456);
    std::ofstream(path) << "older";
    const auto writeOnAFullDisk = [&] {
        const rlimit limit{4096, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        exit(KLFwriteBmp(path.c_str(), 100, 100, pixels.data()) == KLFbmpErrorFile ? 0 : 1);
    };
    EXPECT_EXIT(writeOnAFullDisk(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(contents(), "older");
    EXPECT_EQ(filesInFolder(), 1U);
    EXPECT_EQ(KLFwriteBmp(path.c_str(), 100, 100, pixels.data()), 0);
    EXPECT_EQ(contents().size(), 54U + 30000U);
}
