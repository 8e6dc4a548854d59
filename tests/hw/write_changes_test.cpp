#include "hw/write_changes.h"

#include "grc/boxf.h"
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

} // namespace

TEST_F(WriteChanges, TheFirstCommitSendsEveryPixel) {
    writer.commitFrom(display, true);
    const Updates updates = controller.take();
    ASSERT_EQ(updates.size(), 64U);
    EXPECT_EQ(updates.front(), "0,0,256,1");
    EXPECT_EQ(updates.back(), "0,63,256,1");
    writer.attach(controller);
    writer.commitFrom(display, false);
    EXPECT_EQ(controller.take(), updates) << "attached again";
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
