#include "hw/frontpanel.h"

#include <algorithm>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_BMP
#include <stb/stb_image.h>

#include "grc/boxf.h"
#include "hw/keyquery.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"
#include <gtest/gtest.h>

namespace {

constexpr int width = 256;
constexpr int height = 64;

// On the virtual device with the panel type 0x3D.
class FrontPanel : public testing::Test {
protected:
    FrontPanel() {
        k4sim::Setup setup;
        setup.board = k4sim::Board::plain;
        k4sim::machine().reset(setup);
    }
    ~FrontPanel() override { k4sim::machine().reset(); }

    static k4sim::Device& device() { return k4sim::machine().device(); }

    static bool allOf(int grey) {
        return std::ranges::count(device().oled()->picture(), grey) == width * height;
    }

    void expectHarmless() {
        const k4sim::Picture before = device().oled()->picture();
        const int contrast = device().oled()->peek_contrast();
        EXPECT_EQ(panel.writer, nullptr);
        panel.dispMode(2);
        panel.dispContrast(50);
        GRCboxF({0, 0}, {9, 9}, 9).draw(panel.display);
        EXPECT_EQ(panel.display.grey(8, 8), 9U);
        EXPECT_EQ(device().oled()->picture(), before);
        EXPECT_EQ(device().oled()->peek_contrast(), contrast);
    }

    CHfrontpanelK4 panel;
};

int sharedKey() { return 0x4B350000 | (getpid() & 0xFFFF); }

} // namespace

TEST_F(FrontPanel, InitAgainStartsWithABlackPictureAndSendsItWhole) {
    ASSERT_EQ(panel.init(0), 0);
    panel.display.clear(5);
    panel.writer->commitFrom(panel.display, true);
    EXPECT_TRUE(allOf(5));
    ASSERT_EQ(panel.init(0), 0);
    panel.writer->commitFrom(panel.display, true);
    EXPECT_TRUE(allOf(0));
}

TEST_F(FrontPanel, UnknownPanelsAndMainboardsGiveTheFakeController) {
    for (const char* type : {"0x00", "0x3B", "0x3E", "0xFF"}) {
        device().set_fault("panel-type", type);
        EXPECT_EQ(panel.init(0), -49997) << type;
        expectHarmless();
    }
    device().set_fault("panel-type", "0x3D");
    EXPECT_EQ(panel.init(0), 0) << "and recovers";
    device().set_fault("cpld-id", "255");
    EXPECT_EQ(panel.init(0), -49997);
    EXPECT_NE(dynamic_cast<Myfplink_fake*>(panel.fplink.get()), nullptr);
    expectHarmless();
}

TEST_F(FrontPanel, WithoutPrivilegeNothingIsSent) {
    k4sim::machine().set_privilege_refused(true);
    EXPECT_EQ(panel.init(0), -49999);
    expectHarmless();
    k4sim::machine().set_privilege_refused(false);
    EXPECT_EQ(panel.init(0), 0);
}

TEST_F(FrontPanel, PixelsLieInSharedMemoryOnRequest) {
    const KLTsharedMemory viewer(sharedKey(), width * height * 4);
    ASSERT_NE(viewer.memory(), nullptr);
    auto* const pixels = static_cast<unsigned int*>(viewer.memory());
    pixels[2 * width + 3] = 7;
    EXPECT_EQ(panel.init(sharedKey()), 0);
    EXPECT_EQ(pixels[2 * width + 3], 0U) << "cleared, though it was there before";
    panel.display.put(3, 2, 11);
    EXPECT_EQ(pixels[2 * width + 3], 11U);
    ASSERT_EQ(panel.init(0), 0);
    panel.display.put(3, 2, 12);
    EXPECT_EQ(pixels[2 * width + 3], 11U) << "own memory again";
}

TEST_F(FrontPanel, SharedMemoryGoesWithTheNextInit) {
    ASSERT_EQ(panel.init(sharedKey()), 0);
    EXPECT_NE(shmget(sharedKey(), 0, 0), -1);
    ASSERT_EQ(panel.init(0), 0);
    EXPECT_EQ(shmget(sharedKey(), 0, 0), -1);
}

TEST_F(FrontPanel, SharedMemoryThatCanNotBeHadIsAnError) {
    ASSERT_EQ(panel.init(0), 0);
    const KLTsharedMemory tooSmall(sharedKey(), 100);
    ASSERT_NE(tooSmall.memory(), nullptr);
    EXPECT_EQ(panel.init(sharedKey()), -3);
    expectHarmless();
}

TEST_F(FrontPanel, ContrastAndModesAreLimited) {
    ASSERT_EQ(panel.init(0), 0);
    panel.writer->commitFrom(panel.display, true);
    for (const auto& [percent, contrast] : {std::pair{-5, 0}, {50, 0x80}, {150, 255}, {256, 255}}) {
        panel.dispContrast(percent);
        EXPECT_EQ(device().oled()->peek_contrast(), contrast) << percent;
    }
    for (const auto& [mode, isOn, isLit] : {std::tuple{2, true, true},
                                            {1, true, false},
                                            {0, false, false},
                                            {3, true, false},
                                            {-1, false, false}}) {
        panel.dispMode(mode);
        EXPECT_EQ(device().oled()->peek_on(), isOn) << mode;
        EXPECT_TRUE(allOf(isLit ? 15 : 0)) << mode;
    }
}

TEST_F(FrontPanel, EqualKeyEventsAreTakenAtOnce) {
    ASSERT_EQ(panel.init(0), 0);
    EXPECT_EQ(panel.kbdGetkey(), -1);
    device().keys()->turn(1, 15);
    EXPECT_EQ(panel.kbdGetkey(), 13);
    EXPECT_EQ(panel.kbdGetAll(13), 14);
    EXPECT_EQ(panel.kbdGetAll(13), 0);
}

TEST_F(FrontPanel, SavedPictureReadsBackEqual) {
    ASSERT_EQ(panel.init(0), 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            panel.display.put(x, y, static_cast<unsigned int>(x + 3 * y));
    const std::string path = testing::TempDir() + "frontpanel" + std::to_string(getpid());
    ASSERT_TRUE(panel.saveScreenImage(path.c_str()));
    int w = 0;
    int h = 0;
    unsigned char* const read = stbi_load(path.c_str(), &w, &h, nullptr, 3);
    unlink(path.c_str());
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(std::pair(w, h), std::pair(width, height));
    for (int i = 0; i < width * height * 3; ++i)
        ASSERT_EQ(read[i], panel.display.grey(i / 3 % width, i / 3 / width) * 17);
    stbi_image_free(read);
    EXPECT_FALSE(panel.saveScreenImage("/nonexistent/picture.bmp"));
}

TEST_F(FrontPanel, KeyQueryNeedsNoDisplay) {
    CHk4keyquery query;
    k4sim::machine().set_privilege_refused(true);
    EXPECT_EQ(query.init(), -49999);
    k4sim::machine().set_privilege_refused(false);
    device().set_fault("panel-type", "0");
    device().keys()->press('7');
    ASSERT_EQ(query.init(), 0);
    EXPECT_EQ(query.getkey(), 7);
    EXPECT_EQ(query.getkey(), -1);
    device().keys()->turn(1, 15);
    EXPECT_EQ(query.getkey(), 12) << "16 positions whatever the panel's version";
    EXPECT_EQ(query.getkey(), -1);
    EXPECT_FALSE(device().oled()->peek_on());
}
