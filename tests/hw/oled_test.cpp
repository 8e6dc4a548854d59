// The bytes for the OLED controllers.
#include "hw/write_changes.h"

#include <climits>
#include <gtest/gtest.h>
#include <regex>
#include <tuple>

namespace {

// Notes each byte on its way to the controller: " c15" is a command, " d05" data.
class NotingLink : public Myfplink_hss {
public:
    NotingLink() : Myfplink_hss(0) {}
    using Myfplink_hss::put_cmd;
    using Myfplink_hss::put_data;
    void put_cmd(unsigned char byte) override { note(" c", byte); }
    void put_data(unsigned char byte) override { note(" d", byte); }

    // The bytes since the last call.
    std::string take() { return std::exchange(log_, {}); }

private:
    void note(const char* kind, unsigned byte) {
        constexpr const char* digits = "0123456789ABCDEF";
        log_ += kind;
        log_ += {digits[byte / 16], digits[byte % 16]};
    }

    std::string log_;
};

// A pixel within a picture whose greys are the low four bits of x + y.
const unsigned int* slope(int x, int y) {
    static std::vector<unsigned int> picture(256 * 64);
    for (unsigned int i = 0; i < picture.size(); ++i)
        picture[i] = 0xABC0 | (i + i / 256) % 16;
    return &picture[y * 256U + x];
}

} // namespace

// Worked out by hand after the makers' sheets. Uneven edges carry the neighbours along that
// share a byte or a column.
TEST(Controllers, SendTheBytesOfTheirSheet) {
    const std::string black = std::regex_replace(std::string(8192, '.'), std::regex("."), " d00");
    const std::tuple<void (*)(CHGenericOLEDController&), std::string, std::string> sheet[] = {
        {[](auto& c) { c.init(); },
         " cFD c12 cAE c23 c00 c15 c00 c7F c75 c00 c3F c81 c9F cA0 cC3 cA1 c00 cA2 c00 cA4 cA8 c3F"
         " cAB c01 cAD c8E cB1 c22 cB3 cA0 cB6 c04 cB9 cBC c1F cBD c01 cBE c07" +
             black,
         " cFD d12 cAE cB3 d91 cCA d3F cA2 d00 cA1 d00 cA0 d14 d11 cB5 d00 cAB d01 cB4 dA0 dFD cC1"
         " d9F cC7 d0F cB8 d08 d10 d18 d20 d28 d30 d38 d40 d48 d50 d58 d60 d68 d70 d78 c00 cB1 dE2"
         " cD1 d82 d20 cBB d1F cB6 d08 cBE d07 cA6 cA9 c15 d1C d5B c75 d00 d3F c5C" +
             black},
        {[](auto& c) { c.enable(false, false); }, " cAE cA4", " cAE cA6"},
        {[](auto& c) { c.enable(true, false); }, " cAF cA4", " cAF cA6"},
        {[](auto& c) { c.enable(true, true); }, " cAF cA5", " cAF cA5"},
        {[](auto& c) { c.contrast(0); }, " c81 c01", " cC1 d00"},
        {[](auto& c) { c.contrast(50); }, " c81 c80", " cC1 d80"},
        {[](auto& c) { c.contrast(100); }, " c81 cFF", " cC1 dFF"},
        {[](auto& c) { c.contrast(255); }, " c81 cFF", " cC1 dFF"},
        {[](auto& c) { c.update(10, 3, 2, 1, slope(10, 3)); }, " c15 c05 c05 c75 c03 c03 dDE",
         " c15 d1E d1E c75 d03 d03 c5C dBC dDE"},
        {[](auto& c) { c.update(11, 0, 2, 1, slope(11, 0)); }, " c15 c05 c06 c75 c00 c00 dAB dCD",
         " c15 d1E d1F c75 d00 d00 c5C d89 dAB dCD dEF"},
        {[](auto& c) { c.update(100, 1, 11, 1, slope(100, 1)); },
         " c15 c32 c37 c75 c01 c01 d56 d78 d9A dBC dDE dF0",
         " c15 d35 d37 c75 d01 d01 c5C d56 d78 d9A dBC dDE dF0"},
        {[](auto& c) { c.update(251, 62, 2, 2, slope(251, 62)); },
         " c15 c7D c7E c75 c3E c3F d89 dAB d9A dBC",
         " c15 d5A d5B c75 d3E d3F c5C d67 d89 dAB dCD d78 d9A dBC dDE"},
        {[](auto& c) { c.update(-1, 0, 2, 1, nullptr); }, "", ""},
        {[](auto& c) { c.update(0, -1, 1, 2, nullptr); }, "", ""},
        {[](auto& c) { c.update(255, 0, 2, 1, nullptr); }, "", ""},
        {[](auto& c) { c.update(0, 63, 1, 2, nullptr); }, "", ""},
        {[](auto& c) { c.update(256, 64, 1, 1, nullptr); }, "", ""},
        {[](auto& c) { c.update(5, 5, 1, 0, nullptr); }, "", ""},
        {[](auto& c) { c.update(INT_MAX, 0, INT_MAX, 1, nullptr); }, "", ""},
    };
    NotingLink link;
    MyTOD9M0026 ssd1362(link);
    MyOEL1M4005 ssd1322(link);
    MyFAKEOLED fake(link);
    for (const auto& [run, on_ssd1362, on_ssd1322] : sheet) {
        run(ssd1362);
        EXPECT_EQ(link.take(), on_ssd1362);
        run(ssd1322);
        EXPECT_EQ(link.take(), on_ssd1322);
        run(fake);
        EXPECT_EQ(link.take(), "");
    }
}

TEST(WriteChanges, SendsFromTheFirstToTheLastChangedPixelOfARow) {
    NotingLink link;
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
        EXPECT_EQ(link.take().size(), 64 * (6 + 128) * 4U) << "a row is six bytes and pixels";
    }
    display.put(10, 5, 3);
    display.put(13, 5, 4);
    display.put(30, 7, 0); // black already
    display.put(255, 63, 1);
    memory[3] = 2; // outside of what was drawn on
    memory[6 * 256 + 20] = 0xFFFFFFF0;
    writer.commitFrom(display, true);
    EXPECT_EQ(link.take(), " c15 c05 c06 c75 c05 c05 d30 d04 c15 c7F c7F c75 c3F c3F d01");
    EXPECT_TRUE(display.changed().empty());
    writer.commitFrom(display, true);
    EXPECT_EQ(link.take(), "");
    writer.commitFrom(display, false);
    EXPECT_EQ(link.take(), " c15 c01 c01 c75 c00 c00 d02");
    for (const GRCsize size : {GRCsize{255, 64}, {256, 63}, {300, 100}, {0, 0}}) {
        display.init(size.width, size.height);
        display.clear(9);
        writer.commitFrom(display, false);
        EXPECT_EQ(link.take(), "");
    }
}
