#include "hw/frontpanel.h"

#include <memory>
#include <string>
#include <unistd.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_BMP
#include <stb/stb_image.h>

#include "grc/boxf.h"
#include "hw/keyquery.h"
#include "panel_recorder.h"
#include "sim/machine.h"

namespace {

constexpr int width = 256;
constexpr int height = 64;

// A mainboard with ID 1, version 9 at 0xD000, and its panel as the ports show them. Keeps
// what is sent to the display.
class PanelPorts : public k4sim::PortSpace {
public:
    std::uint8_t id = 1;
    std::uint8_t panelType = 0x3C;
    std::uint8_t panelVersion = 9;
    std::uint32_t keyWord = 0x0000FFFF;
    std::vector<WireByte> sent;

    std::uint8_t in(std::uint16_t port) override {
        const int offset = port - base;
        if (offset >= 7 && offset <= 10)
            return static_cast<std::uint8_t>(keyWord >> 8 * (offset - 7));
        switch (offset) {
        case 0:
            return id;
        case 1:
            return 9;
        case 4:
            return 0; // not busy
        case 5:
            return panelType;
        case 6:
            return panelVersion;
        default:
            return 0xFF;
        }
    }

    void out(std::uint16_t port, std::uint8_t value) override {
        if (port == base + 5 || port == base + 6) sent.push_back({port == base + 5, value});
    }

private:
    static constexpr int base = 0xD000;
};

class FrontPanel : public testing::Test {
protected:
    FrontPanel() { k4sim::machine().attach_ports(&ports); }
    ~FrontPanel() override {
        k4sim::machine().set_privilege_refused(false);
        k4sim::machine().attach_ports(nullptr);
    }

    std::vector<WireByte> takeSent() { return std::exchange(ports.sent, {}); }

    void expectHarmless() {
        EXPECT_EQ(panel.writer, nullptr);
        takeSent();
        panel.dispMode(2);
        panel.dispContrast(50);
        GRCboxF({0, 0}, {9, 9}, 9).draw(panel.display);
        EXPECT_EQ(panel.display.grey(8, 8), 9U);
        EXPECT_TRUE(takeSent().empty());
    }

    PanelPorts ports;
    CHfrontpanelK4 panel;
};

int sharedKey() { return 0x4B350000 | (getpid() & 0xFFFF); }

} // namespace

TEST_F(FrontPanel, InitAgainStartsWithABlackPictureAndSendsItWhole) {
    ASSERT_EQ(panel.init(0), 0);
    panel.display.clear(5);
    panel.writer->commitFrom(panel.display, true);
    ASSERT_EQ(panel.init(0), 0);
    takeSent();
    panel.writer->commitFrom(panel.display, true);
    EXPECT_EQ(takeSent().size(), 64U * (6 + 128));
    EXPECT_EQ(panel.display.grey(0, 0), 0U);
}

TEST_F(FrontPanel, UnknownPanelsAndMainboardsGiveTheFakeController) {
    for (const int type : {0x00, 0x3B, 0x3E, 0xFF}) {
        ports.panelType = static_cast<std::uint8_t>(type);
        EXPECT_EQ(panel.init(0), -49997) << type;
        expectHarmless();
    }
    ports.panelType = 0x3C;
    EXPECT_EQ(panel.init(0), 0) << "and recovers";
    ports.id = 0xFF;
    EXPECT_EQ(panel.init(0), -49997);
    EXPECT_NE(dynamic_cast<Myfplink_fake*>(panel.fplink.get()), nullptr);
    expectHarmless();
}

TEST_F(FrontPanel, WithoutPrivilegeNothingIsSent) {
    k4sim::machine().set_privilege_refused(true);
    EXPECT_EQ(panel.init(0), -49999);
    EXPECT_TRUE(takeSent().empty());
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

TEST_F(FrontPanel, SharedMemoryThatCanNotBeHadIsAnError) {
    ASSERT_EQ(panel.init(0), 0);
    const KLTsharedMemory tooSmall(sharedKey(), 100);
    ASSERT_NE(tooSmall.memory(), nullptr);
    EXPECT_EQ(panel.init(sharedKey()), -3);
    expectHarmless();
}

TEST_F(FrontPanel, ContrastAndModesAreLimited) {
    ASSERT_EQ(panel.init(0), 0);
    takeSent();
    for (const auto& [percent, bytes] :
         {std::pair{-5, "c81 c01"}, {50, "c81 c80"}, {150, "c81 cFF"}, {256, "c81 cFF"}}) {
        panel.dispContrast(percent);
        EXPECT_EQ(takeSent(), wire(bytes)) << percent;
    }
    for (const auto& [mode, bytes] : {std::pair{2, "cAF cA5"},
                                      {1, "cAF cA4"},
                                      {0, "cAE cA4"},
                                      {3, "cAF cA4"},
                                      {-1, "cAE cA4"}}) {
        panel.dispMode(mode);
        EXPECT_EQ(takeSent(), wire(bytes)) << mode;
    }
}

TEST_F(FrontPanel, KeysComeThroughTheLinkWithThePanelsModulus) {
    ports.panelVersion = 7;
    ASSERT_EQ(panel.init(0), 0);
    EXPECT_EQ(panel.kbdGetkey(), -1);
    ports.keyWord = 0x0000FFFF | 15U << 24;
    EXPECT_EQ(panel.kbdGetkey(), 12) << "16 positions: one step down";
    ports.panelVersion = 8;
    ASSERT_EQ(panel.init(0), 0);
    ports.keyWord = 0x0000FFFF;
    EXPECT_EQ(panel.kbdGetkey(), 12) << "64 positions: fifteen steps down";
    EXPECT_EQ(panel.kbdGetAll(12), 14);
    EXPECT_EQ(panel.kbdGetAll(12), 0);
    ports.keyWord ^= 1U << 6;
    EXPECT_EQ(panel.kbdGetkey(), 7);
    EXPECT_EQ(panel.kbdGetkey(), -1);
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
    ports.panelType = 0;
    ports.keyWord = 0x0000FFFF ^ 1U << 6;
    ASSERT_EQ(query.init(), 0);
    EXPECT_EQ(query.getkey(), 7);
    EXPECT_EQ(query.getkey(), -1);
    ports.keyWord = 0x0080FFFF;
    EXPECT_EQ(query.getkey(), 0x107);
    EXPECT_EQ(query.getkey(), 19);
    ports.keyWord |= 15U << 24;
    EXPECT_EQ(query.getkey(), 12) << "16 positions whatever the panel's version";
    EXPECT_EQ(query.getkey(), -1);
    EXPECT_TRUE(takeSent().empty());
}
