#include "hw/write_changes.h"

#include <random>

#include "grc/boxf.h"
#include "grc/text.h"
#include "panel_recorder.h"

namespace {

constexpr int width = 256;
constexpr int height = 64;

// A controller that notes its updates as "x,y,w,h".
class NotingController : public CHlinkedOLED<CHGenericOLEDController> {
public:
    using CHlinkedOLED::CHlinkedOLED;
    std::vector<std::string> updates;
    const unsigned int* lastPixels = nullptr;

    void init() override {}
    void contrast(unsigned char) override {}
    void enable(bool, bool) override {}
    void update(int x, int y, int w, int h, const unsigned int* pixels) override {
        updates.push_back(std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(w) +
                          "," + std::to_string(h));
        lastPixels = pixels;
    }

    std::vector<std::string> take() { return std::exchange(updates, {}); }
};

class WriteChanges : public testing::Test {
protected:
    WriteChanges() {
        display.init(width, height);
        writer.attach(controller);
    }

    void commitAll() {
        writer.commitFrom(display, true);
        controller.take();
    }

    RecordingLink link;
    NotingController controller{link};
    CHgenericWriteChanges writer;
    GRCdisplay display;
};

using Updates = std::vector<std::string>;

template <class Controller, class Decoder>
struct Panel {
    using Chip = Decoder;

    Panel() {
        controller.init();
        display.init(width, height);
        writer.attach(controller);
    }

    void expectArrived() {
        writer.commitFrom(display, true);
        chip.feed(link.bytes);
        link.clear();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(chip.grey(x, y), display.grey(x, y)) << "pixel " << x << "," << y;
    }

    RecordingLink link;
    Controller controller{link};
    CHgenericWriteChanges writer;
    GRCdisplay display;
    Decoder chip;
};

template <class Device>
class AnyPanel : public testing::Test {
protected:
    Device device;
};

using Panels =
    testing::Types<Panel<MyTOD9M0026, DecoderSSD1362>, Panel<MyOEL1M4005, DecoderSSD1322>>;
TYPED_TEST_SUITE(AnyPanel, Panels);

} // namespace

TEST_F(WriteChanges, TheFirstCommitSendsEveryPixel) {
    writer.commitFrom(display, true);
    const Updates updates = controller.take();
    ASSERT_EQ(updates.size(), 64U);
    EXPECT_EQ(updates.front(), "0,0,256,1");
    EXPECT_EQ(updates.back(), "0,63,256,1");
}

TEST_F(WriteChanges, RowsWithoutAChangeSendNothing) {
    commitAll();
    display.put(10, 5, 3);
    display.put(20, 5, 4);
    display.put(0, 9, 1);
    display.put(255, 63, 1);
    display.put(30, 7, 0); // black already
    writer.commitFrom(display, true);
    EXPECT_EQ(controller.take(), (Updates{"10,5,11,1", "0,9,1,1", "255,63,1,1"}));
    EXPECT_EQ(controller.lastPixels, display.row(63) + 255) << "the pixel within its row";
    writer.commitFrom(display, true);
    EXPECT_TRUE(controller.take().empty());
}

TEST_F(WriteChanges, PixelsDrawnOverAndBackSendNothing) {
    commitAll();
    GRCboxF({40, 10}, {100, 10}, 15).draw(display);
    GRCboxF({40, 10}, {100, 10}, 0).draw(display);
    writer.commitFrom(display, true);
    EXPECT_TRUE(controller.take().empty());
}

TEST_F(WriteChanges, OnlyTheLowFourBitsOfAWordAreGrey) {
    std::vector<unsigned int> memory(width * height, 0);
    display.init(width, height, memory.data());
    commitAll();
    memory[3 * width + 8] = 0xFFFFFFF0;
    memory[3 * width + 9] = 0xFFFFFFF1;
    writer.commitFrom(display, false);
    EXPECT_EQ(controller.take(), Updates{"9,3,1,1"});
}

TEST_F(WriteChanges, ChangesOutsideTheChangedAreaWaitForAWholeCommit) {
    std::vector<unsigned int> memory(width * height, 0);
    display.init(width, height, memory.data());
    commitAll();
    memory[5] = 7;
    display.put(9, 0, 7);
    writer.commitFrom(display, true);
    EXPECT_EQ(controller.take(), Updates{"9,0,1,1"});
    writer.commitFrom(display, false);
    EXPECT_EQ(controller.take(), Updates{"5,0,1,1"});
}

TEST_F(WriteChanges, AttachingAgainSendsEveryPixelAgain) {
    commitAll();
    writer.attach(controller);
    writer.commitFrom(display, false);
    EXPECT_EQ(controller.take().size(), 64U);
}

TEST_F(WriteChanges, OtherDisplaySizesAndNoControllerSendNothing) {
    for (const GRCsize size : {GRCsize{255, 64}, {256, 63}, {300, 100}, {0, 0}}) {
        display.init(size.width, size.height);
        writer.commitFrom(display, false);
    }
    CHgenericWriteChanges unattached;
    display.init(width, height);
    unattached.commitFrom(display, true);
    EXPECT_TRUE(controller.take().empty());
}

TYPED_TEST(AnyPanel, RandomPicturesAndChangesArrivePixelForPixel) {
    std::mt19937 random(11);
    GRCdisplay& display = this->device.display;
    this->device.expectArrived();
    for (int round = 0; round < 10; ++round) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                display.put(x, y, random());
        this->device.expectArrived();
        for (int change = 0; change < 30; ++change) {
            const GRCpoint position{static_cast<int>(random() % 300) - 20,
                                    static_cast<int>(random() % 90) - 10};
            const GRCsize extent{static_cast<int>(random() % 60), static_cast<int>(random() % 20)};
            GRCboxF(position, extent, random()).draw(display);
            display.put(random() % width, random() % height, random());
            this->device.expectArrived();
        }
    }
}

// What the orchestrator does when one status text changes: it draws all rows again.
TYPED_TEST(AnyPanel, AChangedStatusTextCostsLittle) {
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, 0);
    const auto drawRows = [&](const char* third) {
        for (int row = 0; row < 6; ++row) {
            GRCboxF({70, 10 * row}, {186, 10}, 0).draw(this->device.display);
            text.position({70, 10 * row});
            text.text(row == 2 ? third : "Not running");
            text.draw(this->device.display);
        }
    };
    drawRows("Not running");
    this->device.expectArrived();
    drawRows("OK");
    this->device.writer.commitFrom(this->device.display, true);
    const RecordingLink& link = this->device.link;
    this->RecordProperty("controller_bytes", static_cast<int>(link.bytes.size()));
    this->RecordProperty("i2c_bytes", static_cast<int>(link.i2cBytes()));
    EXPECT_LT(link.bytes.size(), 9U * (8 + 28)) << "nine rows of at most 55 pixels";
    EXPECT_GT(link.bytes.size(), 0U);
}
