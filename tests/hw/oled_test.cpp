#include "hw/oled.h"

#include <climits>
#include <random>

#include "panel_recorder.h"

namespace {

constexpr int width = 256;
constexpr int height = 64;

using Picture = std::vector<unsigned int>;

Picture randomPicture(std::mt19937& random) {
    Picture picture(width * height);
    for (unsigned int& pixel : picture)
        pixel = random(); // only the low 4 bits count
    return picture;
}

template <class Decoder>
void expectPicture(const Decoder& chip, const Picture& picture) {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(chip.grey(x, y), picture[static_cast<std::size_t>(y * width + x)] & 15)
                << "pixel " << x << "," << y;
}

template <class Controller>
class OLED : public testing::Test {
protected:
    void update(int x, int y, int w, int h, const Picture& picture) {
        controller.update(x, y, w, h, picture.data() + y * width + x);
    }

    RecordingLink link;
    Controller controller{link};
};

class TOD9M0026 : public OLED<MyTOD9M0026> {
public:
    using Decoder = DecoderSSD1362;
};
class OEL1M4005 : public OLED<MyOEL1M4005> {
public:
    using Decoder = DecoderSSD1322;
};

template <class Panel>
class AnyOLED : public Panel {};

using Panels = testing::Types<TOD9M0026, OEL1M4005>;
TYPED_TEST_SUITE(AnyOLED, Panels);

} // namespace

// Greys A at x = 10 and 5 at x = 11, y = 3, as in the makers' sheets.
TEST_F(TOD9M0026, SendsTheWorkedExample) {
    Picture picture(width * height);
    picture[3 * width + 10] = 0xA;
    picture[3 * width + 11] = 0x5;
    update(10, 3, 2, 1, picture);
    EXPECT_EQ(link.bytes, wire("c15 c05 c05 c75 c03 c03 dA5"));
    EXPECT_EQ(link.messages, 3U);
}

TEST_F(OEL1M4005, SendsTheWorkedExample) {
    Picture picture(width * height);
    picture[3 * width + 8] = 0x7;
    picture[3 * width + 9] = 0x1;
    picture[3 * width + 10] = 0xA;
    picture[3 * width + 11] = 0x5;
    update(10, 3, 2, 1, picture);
    EXPECT_EQ(link.bytes, wire("c15 d1E d1E c75 d03 d03 c5C d71 dA5"));
}

TEST_F(TOD9M0026, OddEdgesCarryTheNeighboursAlong) {
    Picture picture(width * height);
    for (unsigned int x = 8; x < 16; ++x)
        picture[x] = x - 8;
    update(11, 0, 2, 1, picture);
    EXPECT_EQ(link.bytes, wire("c15 c05 c06 c75 c00 c00 d23 d45"));
}

TEST_F(OEL1M4005, UnevenEdgesCarryTheNeighboursAlong) {
    Picture picture(width * height);
    for (unsigned int x = 0; x < 16; ++x)
        picture[63 * width + 240 + x] = x;
    update(247, 63, 2, 1, picture);
    EXPECT_EQ(link.bytes, wire("c15 d59 d5A c75 d3F d3F c5C d45 d67 d89 dAB"));
}

TYPED_TEST(AnyOLED, InitLeavesADarkSleepingPicture) {
    this->controller.init();
    typename TypeParam::Decoder chip;
    chip.feed(this->link.bytes);
    EXPECT_FALSE(chip.isAwake());
    expectPicture(chip, Picture(width * height));
    EXPECT_EQ(chip.registers(0xFD), std::vector{0x12}) << "unlocked";
    EXPECT_EQ(chip.registers(0xAB), std::vector{0x01}) << "core supply on";
    EXPECT_EQ(chip.registers(0xA1), std::vector{0});
    EXPECT_EQ(chip.registers(0xA2), std::vector{0});
}

TEST_F(TOD9M0026, InitSelectsRowsMappingAndPictureOfTheGlass) {
    controller.init();
    DecoderSSD1362 chip;
    chip.feed(link.bytes);
    EXPECT_EQ(chip.registers(0xA8), std::vector{63});
    EXPECT_EQ(chip.registers(0xA0), std::vector{0xC3});
    EXPECT_EQ(chip.registers(0x23), std::vector{0}) << "no fading";
    EXPECT_EQ(chip.pictureMode(), 0xA4);
}

TEST_F(OEL1M4005, InitSelectsRowsMappingAndPictureOfTheGlass) {
    controller.init();
    DecoderSSD1322 chip;
    chip.feed(link.bytes);
    EXPECT_EQ(chip.registers(0xCA), std::vector{63});
    EXPECT_EQ(chip.registers(0xA0), (std::vector{0x14, 0x11}));
    EXPECT_EQ(chip.pictureMode(), 0xA6);
    const std::vector<int> greys = chip.registers(0xB8);
    ASSERT_EQ(greys.size(), 15U);
    for (std::size_t i = 1; i < greys.size(); ++i)
        EXPECT_GT(greys[i], greys[i - 1]);
}

TYPED_TEST(AnyOLED, RandomUpdatesArriveInTheChipPixelForPixel) {
    std::mt19937 random(7);
    typename TypeParam::Decoder chip;
    Picture shown = randomPicture(random);
    this->update(0, 0, width, height, shown);
    chip.feed(this->link.bytes);
    expectPicture(chip, shown);
    for (int round = 0; round < 300; ++round) {
        const int x = static_cast<int>(random() % width);
        const int y = static_cast<int>(random() % height);
        const int w = 1 + static_cast<int>(random() % static_cast<unsigned int>(width - x));
        const int h = 1 + static_cast<int>(random() % static_cast<unsigned int>(height - y));
        for (int row = y; row < y + h; ++row)
            for (int column = x; column < x + w; ++column)
                shown[static_cast<std::size_t>(row * width + column)] = random();
        this->link.clear();
        this->update(x, y, w, h, shown);
        chip.feed(this->link.bytes);
        expectPicture(chip, shown);
        if (this->HasFatalFailure())
            FAIL() << "after the area " << x << "," << y << " " << w << " x " << h;
    }
}

TYPED_TEST(AnyOLED, AreasOutsideTheDisplaySendNothing) {
    const Picture picture(width * height);
    const int cases[][4] = {{-1, 0, 2, 1},
                            {0, -1, 1, 2},
                            {255, 0, 2, 1},
                            {0, 63, 1, 2},
                            {256, 0, 1, 1},
                            {0, 64, 1, 1},
                            {5, 5, 0, 1},
                            {5, 5, 1, 0},
                            {5, 5, -1, 1},
                            {5, 5, INT_MAX, 1},
                            {INT_MIN, 0, INT_MAX, 1},
                            {INT_MAX, 0, INT_MAX, 1}};
    for (const auto& [x, y, w, h] : cases)
        this->controller.update(x, y, w, h, picture.data());
    EXPECT_TRUE(this->link.bytes.empty());
}

TEST_F(TOD9M0026, ContrastFollowsThePercentage) {
    const std::pair<int, const char*> cases[] = {
        {0, "c81 c01"}, {50, "c81 c80"}, {100, "c81 cFF"}, {101, "c81 cFF"}, {255, "c81 cFF"}};
    for (const auto& [percent, bytes] : cases) {
        link.clear();
        controller.contrast(static_cast<unsigned char>(percent));
        EXPECT_EQ(link.bytes, wire(bytes)) << percent;
    }
}

TEST_F(OEL1M4005, ContrastFollowsThePercentage) {
    const std::pair<int, const char*> cases[] = {
        {0, "cC1 d00"}, {50, "cC1 d80"}, {100, "cC1 dFF"}, {255, "cC1 dFF"}};
    for (const auto& [percent, bytes] : cases) {
        link.clear();
        controller.contrast(static_cast<unsigned char>(percent));
        EXPECT_EQ(link.bytes, wire(bytes)) << percent;
    }
}

TEST_F(TOD9M0026, EnableSwitchesDisplayAndLampTest) {
    controller.enable(false, false);
    controller.enable(true, false);
    controller.enable(true, true);
    EXPECT_EQ(link.bytes, wire("cAE cA4 cAF cA4 cAF cA5"));
}

TEST_F(OEL1M4005, EnableSwitchesDisplayAndLampTest) {
    controller.enable(false, false);
    controller.enable(true, false);
    controller.enable(true, true);
    EXPECT_EQ(link.bytes, wire("cAE cA6 cAF cA6 cAF cA5"));
}

TEST(MyFAKEOLED, ForwardsBytesButSendsNothingOfItself) {
    RecordingLink link;
    MyFAKEOLED fake(link);
    const Picture picture(width * height);
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
    EXPECT_EQ(link.bytes, wire("c12 c34 c12 c12 c34 c56 c78 d9A d9A dBC dDE dF0"));
    EXPECT_EQ(fake.displaySize(), (GRCsize{256, 64}));
}
