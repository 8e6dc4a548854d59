// The bytes for the OLED controllers, and what stands on the glass then.
#include "grc/boxf.h"
#include "hw/write_changes.h"
#include "sim/machine/machine.h"
#include "sim/models/panel/panel.h"

#include <climits>
#include <gtest/gtest.h>
#include <random>

namespace {

// Notes each byte on its way to the modelled panel: "c15" is a command, "d05" data.
class GlassLink : public Myfplink_hss {
public:
    explicit GlassLink(std::uint8_t type) : Myfplink_hss(0), panel(type, 9, k4sim::machine()) {}
    using Myfplink_hss::put_cmd;
    using Myfplink_hss::put_data;

    void put_cmd(unsigned char byte) override {
        note('c', byte);
        panel.oled_command(byte);
    }
    void put_data(unsigned char byte) override {
        note('d', byte);
        panel.oled_data(byte);
    }
    // The bytes since the last call.
    std::string take() { return std::exchange(log_, {}); }

    k4sim::Panel panel;

private:
    void note(char kind, unsigned byte) {
        log_ += log_.empty() ? "" : " ";
        log_ += {kind, "0123456789ABCDEF"[byte / 16], "0123456789ABCDEF"[byte % 16]};
    }

    std::string log_;
};

// A picture whose greys are the low four bits of x + y.
std::vector<unsigned int> slope() {
    std::vector<unsigned int> picture(256 * 64);
    for (unsigned int i = 0; i < picture.size(); ++i)
        picture[i] = 0xABC0 | (i + i / 256) % 16;
    return picture;
}

void update(CHGenericOLEDController& controller, int x, int y, int w, int h) {
    static const std::vector<unsigned int> picture = slope();
    const bool is_inside = x >= 0 && x < 256 && y >= 0 && y < 64;
    controller.update(x, y, w, h, picture.data() + (is_inside ? y * 256 + x : 0));
}

std::string black_picture() {
    std::string bytes;
    for (int i = 0; i < 256 * 64 / 2; ++i)
        bytes += " d00";
    return bytes;
}

} // namespace

// Worked out by hand after the makers' sheets. Uneven edges carry the neighbours along that
// share a byte or a column.
TEST(Controllers, SendTheBytesOfTheirSheet) {
    const struct {
        void (*run)(CHGenericOLEDController& controller);
        std::string on_ssd1362;
        std::string on_ssd1322;
    } operations[] = {
        {[](auto& c) { c.init(); },
         "cFD c12 cAE c23 c00 c15 c00 c7F c75 c00 c3F c81 c9F cA0 cC3 cA1 c00 cA2 c00 cA4 cA8 c3F "
         "cAB c01 cAD c8E cB1 c22 cB3 cA0 cB6 c04 cB9 cBC c1F cBD c01 cBE c07" +
             black_picture(),
         "cFD d12 cAE cB3 d91 cCA d3F cA2 d00 cA1 d00 cA0 d14 d11 cB5 d00 cAB d01 cB4 dA0 dFD cC1 "
         "d9F cC7 d0F cB8 d08 d10 d18 d20 d28 d30 d38 d40 d48 d50 d58 d60 d68 d70 d78 c00 cB1 dE2 "
         "cD1 d82 d20 cBB d1F cB6 d08 cBE d07 cA6 cA9 c15 d1C d5B c75 d00 d3F c5C" +
             black_picture()},
        {[](auto& c) { c.enable(false, false); }, "cAE cA4", "cAE cA6"},
        {[](auto& c) { c.enable(true, false); }, "cAF cA4", "cAF cA6"},
        {[](auto& c) { c.enable(true, true); }, "cAF cA5", "cAF cA5"},
        {[](auto& c) { c.contrast(0); }, "c81 c01", "cC1 d00"},
        {[](auto& c) { c.contrast(50); }, "c81 c80", "cC1 d80"},
        {[](auto& c) { c.contrast(100); }, "c81 cFF", "cC1 dFF"},
        {[](auto& c) { c.contrast(101); }, "c81 cFF", "cC1 dFF"},
        {[](auto& c) { c.contrast(255); }, "c81 cFF", "cC1 dFF"},
        {[](auto& c) { update(c, 10, 3, 2, 1); }, "c15 c05 c05 c75 c03 c03 dDE",
         "c15 d1E d1E c75 d03 d03 c5C dBC dDE"},
        {[](auto& c) { update(c, 11, 0, 2, 1); }, "c15 c05 c06 c75 c00 c00 dAB dCD",
         "c15 d1E d1F c75 d00 d00 c5C d89 dAB dCD dEF"},
        {[](auto& c) { update(c, 251, 62, 2, 2); }, "c15 c7D c7E c75 c3E c3F d89 dAB d9A dBC",
         "c15 d5A d5B c75 d3E d3F c5C d67 d89 dAB dCD d78 d9A dBC dDE"},
        {[](auto& c) { update(c, -1, 0, 2, 1); }, "", ""},
        {[](auto& c) { update(c, 0, -1, 1, 2); }, "", ""},
        {[](auto& c) { update(c, 255, 0, 2, 1); }, "", ""},
        {[](auto& c) { update(c, 0, 63, 1, 2); }, "", ""},
        {[](auto& c) { update(c, 256, 64, 1, 1); }, "", ""},
        {[](auto& c) { update(c, 5, 5, 1, 0); }, "", ""},
        {[](auto& c) { update(c, INT_MAX, 0, INT_MAX, 1); }, "", ""},
    };
    GlassLink link(0x3C);
    MyTOD9M0026 ssd1362(link);
    MyOEL1M4005 ssd1322(link);
    MyFAKEOLED fake(link);
    for (const auto& [run, on_ssd1362, on_ssd1322] : operations) {
        run(ssd1362);
        EXPECT_EQ(link.take(), on_ssd1362);
        run(ssd1322);
        EXPECT_EQ(link.take(), on_ssd1322);
        run(fake);
        EXPECT_EQ(link.take(), "");
    }
}

// What is drawn arrives on the glass, pixel for pixel.
template <class Controller>
void expect_pictures_on_glass(std::uint8_t panel_type) {
    GlassLink link(panel_type);
    Controller controller(link);
    controller.init();
    controller.enable(true, false);
    CHgenericWriteChanges writer;
    writer.attach(controller);
    GRCdisplay display;
    display.init(256, 64);
    std::mt19937 random(1);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 256; ++x)
            display.put(x, y, random() % 16);
    for (int change = 0; change < 30; ++change) {
        writer.commitFrom(display, true);
        const k4sim::Picture picture = link.panel.oled().picture();
        for (int i = 0; i < 256 * 64; ++i)
            ASSERT_EQ(picture[i], display.grey(i % 256, i / 256)) << change << ", pixel " << i;
        const GRCpoint corner = {static_cast<int>(random() % 256), static_cast<int>(random() % 64)};
        const GRCsize size = {static_cast<int>(1 + random() % 9), static_cast<int>(random() % 4)};
        GRCboxF(corner, size, random() % 16).draw(display);
    }
    EXPECT_EQ(link.panel.oled().protocol_errors(), 0U);
}

TEST(Controllers, BringEveryPictureToTheGlass) {
    expect_pictures_on_glass<MyTOD9M0026>(0x3C);
    expect_pictures_on_glass<MyOEL1M4005>(0x3D);
}

TEST(WriteChanges, SendsFromTheFirstToTheLastChangedPixelOfARow) {
    GlassLink link(0x3C);
    MyTOD9M0026 controller(link);
    CHgenericWriteChanges writer;
    GRCdisplay display;
    std::vector<unsigned int> memory(256 * 64, 0);
    display.init(256, 64, memory.data());
    writer.commitFrom(display, true); // nobody is attached
    for (const bool changed_only : {false, true}) {
        writer.attach(controller);
        display.clear();
        writer.commitFrom(display, changed_only);
        EXPECT_EQ(link.take().size(), 64 * (6 + 128) * 4 - 1U) << "a row is six bytes and pixels";
    }
    display.put(10, 5, 3);
    display.put(13, 5, 4);
    display.put(30, 7, 0); // black already
    display.put(255, 63, 1);
    memory[3] = 2; // outside of what was drawn on
    memory[6 * 256 + 20] = 0xFFFFFFF0;
    writer.commitFrom(display, true);
    EXPECT_EQ(link.take(), "c15 c05 c06 c75 c05 c05 d30 d04 c15 c7F c7F c75 c3F c3F d01");
    writer.commitFrom(display, true);
    EXPECT_EQ(link.take(), "");
    writer.commitFrom(display, false);
    EXPECT_EQ(link.take(), "c15 c01 c01 c75 c00 c00 d02");
    for (const GRCsize size : {GRCsize{255, 64}, {256, 63}, {300, 100}, {0, 0}}) {
        display.init(size.width, size.height);
        display.clear(9);
        writer.commitFrom(display, false);
        EXPECT_EQ(link.take(), "");
    }
}
