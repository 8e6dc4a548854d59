// The bytes of the controllers; that pictures arrive is seen on the glass itself
// (panel_picture_test.cpp).
#include "hw/oled.h"

#include <climits>
#include <memory>

#include "panel_recorder.h"

namespace {

constexpr int width = 256;
constexpr int height = 64;

struct Pixels {
    int x, y, w, h;
    const char* bytes;
};

// What a controller sends, in hexadecimal.
struct Bytes {
    Pixels areas[3];
    const char* contrasts[5]; // 0, 50, 100, 101, 255 percent
    const char* dark;
    const char* on;
    const char* lampTest;
};

class OLED : public testing::TestWithParam<bool> {
protected:
    OLED() {
        if (GetParam())
            controller = std::make_unique<MyTOD9M0026>(link);
        else
            controller = std::make_unique<MyOEL1M4005>(link);
    }

    static const Bytes& expected() {
        static const Bytes sheets[] = {
            {{{10, 3, 2, 1, "c15 d1E d1E c75 d03 d03 c5C dBC dDE"},
              {11, 0, 2, 1, "c15 d1E d1F c75 d00 d00 c5C d89 dAB dCD dEF"},
              {251, 62, 2, 2, "c15 d5A d5B c75 d3E d3F c5C d67 d89 dAB dCD d78 d9A dBC dDE"}},
             {"cC1 d00", "cC1 d80", "cC1 dFF", "cC1 dFF", "cC1 dFF"},
             "cAE cA6",
             "cAF cA6",
             "cAF cA5"},
            {{{10, 3, 2, 1, "c15 c05 c05 c75 c03 c03 dDE"},
              {11, 0, 2, 1, "c15 c05 c06 c75 c00 c00 dAB dCD"},
              {251, 62, 2, 2, "c15 c7D c7E c75 c3E c3F d89 dAB d9A dBC"}},
             {"c81 c01", "c81 c80", "c81 cFF", "c81 cFF", "c81 cFF"},
             "cAE cA4",
             "cAF cA4",
             "cAF cA5"}};
        return sheets[GetParam() ? 1 : 0];
    }

    RecordingLink link;
    std::unique_ptr<CHGenericOLEDController> controller;
};

// Worked out by hand after the makers' sheets. Greys are the low four bits of x + y; uneven edges
// carry the neighbours along that share a byte or a column.
TEST_P(OLED, UpdateSendsWindowAndPixels) {
    std::vector<unsigned int> picture(width * height);
    for (unsigned int i = 0; i < picture.size(); ++i)
        picture[i] = 0xABC0 | (i + i / width) % 16;
    for (const auto& [x, y, w, h, bytes] : expected().areas) {
        controller->update(x, y, w, h, picture.data() + y * width + x);
        EXPECT_EQ(link.take(), wire(bytes)) << x;
    }
}

TEST_P(OLED, AreasOutsideTheDisplaySendNothing) {
    const std::vector<unsigned int> picture(width * height);
    const int cases[][4] = {{-1, 0, 2, 1},
                            {0, -1, 1, 2},
                            {255, 0, 2, 1},
                            {0, 63, 1, 2},
                            {256, 0, 1, 1},
                            {0, 64, 1, 1},
                            {5, 5, 0, 1},
                            {5, 5, 1, -1},
                            {5, 5, INT_MAX, 1},
                            {INT_MIN, 0, INT_MAX, 1},
                            {INT_MAX, 0, INT_MAX, 1}};
    for (const auto& [x, y, w, h] : cases)
        controller->update(x, y, w, h, picture.data());
    EXPECT_TRUE(link.bytes.empty());
}

TEST_P(OLED, ContrastFollowsThePercentage) {
    const int percents[] = {0, 50, 100, 101, 255};
    for (int i = 0; i < 5; ++i) {
        controller->contrast(static_cast<unsigned char>(percents[i]));
        EXPECT_EQ(link.take(), wire(expected().contrasts[i])) << percents[i];
    }
}

TEST_P(OLED, EnableSwitchesDisplayAndLampTest) {
    controller->enable(false, false);
    EXPECT_EQ(link.take(), wire(expected().dark));
    controller->enable(true, false);
    EXPECT_EQ(link.take(), wire(expected().on));
    controller->enable(true, true);
    EXPECT_EQ(link.take(), wire(expected().lampTest));
}

INSTANTIATE_TEST_SUITE_P(Controllers, OLED, testing::Bool(),
                         [](const auto& one) { return one.param ? "TOD9M0026" : "OEL1M4005"; });

TEST(MyFAKEOLED, ForwardsBytesButSendsNothingOfItself) {
    RecordingLink link;
    MyFAKEOLED fake(link);
    const std::vector<unsigned int> picture(width * height);
    fake.init();
    fake.update(0, 0, width, height, picture.data());
    fake.contrast(50);
    fake.enable(true, true);
    EXPECT_TRUE(link.bytes.empty());
    fake.put_cmd(static_cast<unsigned char>(0x12));
    fake.put_cmd(static_cast<unsigned short>(0x1234));
    fake.put_cmd(0x12345678U);
    fake.put_data(static_cast<unsigned char>(0x9A));
    fake.put_data(0x9ABCDEF0U);
    EXPECT_EQ(link.take(), wire("c12 c34 c12 c12 c34 c56 c78 d9A d9A dBC dDE dF0"));
}

} // namespace
