#include "hw/frontpanel.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sys/shm.h>
#include <unistd.h>

#include "hw/keyquery.h"
#include "sim/models/device.h"
#include "support/boards.h"
#include "support/scratch_folder.h"

namespace {

// On the virtual device with the panel type 0x3D.
class FrontPanel : public BoardTest {
protected:
    FrontPanel() : device((use_board(k4sim::Board::plain), k4sim::machine().device())) {}

    bool all_of(int grey) { return std::ranges::count(glass.picture(), grey) == 256 * 64; }

    void expect_failure(int error, int shm_key = 0) {
        EXPECT_EQ(panel.init(shm_key), error);
        EXPECT_EQ(panel.writer, nullptr);
        const auto seen = [this] { return std::pair(glass.version(), glass.peek_contrast()); };
        const auto before = seen();
        panel.dispMode(2);
        panel.dispContrast(50);
        panel.display.put(8, 8, 9);
        EXPECT_EQ(panel.display.grey(8, 8), 9U);
        EXPECT_EQ(seen(), before);
    }

    k4sim::Device& device;
    k4sim::Oled& glass = *device.oled();
    CHfrontpanelK4 panel;
    const int key = 0x4B350000 | (getpid() & 0xFFFF);
};

} // namespace

TEST_F(FrontPanel, ShowsAndSavesPictures) {
    ASSERT_EQ(panel.init(0), 0);
    for (int i = 0; i < 256 * 64; ++i)
        panel.display.put(i % 256, i / 256, i * i / 7 % 16);
    panel.writer->commitFrom(panel.display, true);

    const ScratchFolder folder;
    ASSERT_TRUE(panel.saveScreenImage(folder.file("screen.bmp").c_str()));
    std::ifstream file(folder.file("screen.bmp"), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_EQ(bytes.size(), 54 + 64 * 256 * 3U) << "the lowest row first, three bytes a pixel";
    const auto shown = glass.picture();
    for (int i = 0; i < 256 * 64 * 3; ++i)
        ASSERT_EQ(bytes[54U + i] & 0xFF, shown[i / 3 % 256 + (63 - i / 3 / 256) * 256] * 17);
    for (const char* path : {"/nonexistent/picture.bmp", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(panel.saveScreenImage(path));
}

TEST_F(FrontPanel, ContrastAndModesAreLimited) {
    ASSERT_EQ(panel.init(0), 0);
    for (const auto& [percent, contrast] : {std::pair{-5, 0}, {50, 0x80}, {150, 255}, {256, 255}}) {
        panel.dispContrast(percent);
        EXPECT_EQ(glass.peek_contrast(), contrast) << percent;
    }
    constexpr int modes[][3] = {
        {2, true, 15}, {1, true, 0}, {0, false, 0}, {3, true, 0}, {-1, false, 0}};
    for (const auto& [mode, is_on, grey] : modes) {
        panel.dispMode(mode);
        EXPECT_EQ(glass.peek_on(), is_on) << mode;
        EXPECT_TRUE(all_of(grey)) << mode;
    }
}

TEST_F(FrontPanel, WithoutControllerCpldOrPrivilegeNothingIsSent) {
    ASSERT_EQ(panel.init(0), 0);
    for (const char* type : {"0x3B", "0x3E"}) {
        device.set_fault("panel-type", type);
        expect_failure(-49997);
    }
    device.set_fault("panel-type", "0x3D");
    k4sim::machine().set_privilege_refused(true);
    expect_failure(-49999);
    k4sim::machine().set_privilege_refused(false);
    const KLTsharedMemory too_small(key, 100);
    expect_failure(-3, key);
    EXPECT_EQ(panel.init(0), 0) << "and recovers";
}

TEST_F(FrontPanel, PixelsLieInSharedMemoryOnRequestUntilTheNextInit) {
    ASSERT_EQ(panel.init(key), 0);
    EXPECT_NE(shmget(key, 0, 0), -1);
    ASSERT_EQ(panel.init(0), 0);
    EXPECT_EQ(shmget(key, 0, 0), -1);

    const KLTsharedMemory viewer(key, 256 * 64 * 4);
    unsigned int& pixel = static_cast<unsigned int*>(viewer.memory())[2 * 256 + 3];
    pixel = 7;
    ASSERT_EQ(panel.init(key), 0);
    EXPECT_EQ(pixel, 0U) << "cleared, though it was there before";
    panel.display.put(3, 2, 11);
    EXPECT_EQ(pixel, 11U);
    ASSERT_EQ(panel.init(0), 0);
    panel.display.put(3, 2, 12);
    EXPECT_EQ(pixel, 11U);
}

TEST_F(FrontPanel, KeysAreReadWithOrWithoutDisplay) {
    CHk4keyquery query;
    device.keys()->press('7');
    ASSERT_EQ(query.init(), 0);
    EXPECT_EQ(query.getkey(), 7);
    EXPECT_FALSE(glass.peek_on());
    ASSERT_EQ(panel.init(0), 0);
    EXPECT_EQ(panel.kbdGetkey(), 7);
    device.keys()->turn(1, 15);
    EXPECT_EQ(query.getkey(), 12) << "16 positions whatever the panel's version";
    EXPECT_EQ(panel.kbdGetkey(), 13);
    EXPECT_EQ(panel.kbdGetAll(13), 14);
    EXPECT_EQ(panel.kbdGetkey(), -1);
}
