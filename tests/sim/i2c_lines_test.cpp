// Waveforms built by hand from the rules of the I2C bus, with the slave of the test on
// the far side.
#include "sim/models/bus/i2c_lines.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using k4sim::I2cBus;
using k4sim::I2cLines;
using testing::ElementsAre;

namespace {

// Notes what arrives, and answers reads with 0xA1, 0xA2 ...
class NotingSlave final : public k4sim::I2cSlave {
public:
    std::vector<std::string> notes;

    bool begin_write() override {
        notes.push_back("write");
        return true;
    }
    bool begin_read() override {
        notes.push_back("read");
        next_ = 0xA1;
        return true;
    }
    bool write_byte(std::uint8_t byte) override {
        notes.push_back(std::to_string(byte));
        return true;
    }
    std::uint8_t read_byte() override { return next_++; }

private:
    std::uint8_t next_ = 0;
};

class I2cLinesTest : public testing::Test {
protected:
    I2cLinesTest() { bus.attach(0x3C, slave); }

    // One character a step: the levels that the master gives the lines. Blanks are for
    // the reader.
    void wave(std::string scl, std::string sda) {
        std::erase(scl, ' ');
        std::erase(sda, ' ');
        ASSERT_EQ(scl.size(), sda.size());
        for (std::size_t i = 0; i < scl.size(); ++i)
            lines.drive(scl[i] == '-', sda[i] == '-');
    }
    void start() { wave("-__", "__-"); } // ends with SCL low and SDA free
    void stop() { wave("_--", "__-"); }
    // A bit as the master gives it; what the line carries while SCL is high.
    bool clock(bool bit) {
        lines.drive(false, bit);
        lines.drive(true, bit);
        const bool level = lines.sda();
        lines.drive(false, bit);
        return level;
    }
    // True when acknowledged.
    bool write(unsigned byte) {
        for (unsigned mask = 0x80; mask != 0; mask >>= 1)
            clock((byte & mask) != 0);
        return !clock(true);
    }
    unsigned read(bool acknowledge) {
        unsigned byte = 0;
        for (int bit = 0; bit < 8; ++bit)
            byte = byte * 2 + (clock(true) ? 1 : 0);
        clock(!acknowledge);
        return byte;
    }

    NotingSlave slave;
    I2cBus bus;
    I2cLines lines{bus};
};

TEST_F(I2cLinesTest, ADrawnWaveformIsAMessage) {
    //   start 0   1   1   1   1   0   0   0  ack  0   1   0   1   0   0   0   0  ack stop
    wave("--_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _-_ _--",
         "-__ ___ --- --- --- --- ___ ___ ___ --- ___ --- ___ --- ___ ___ ___ ___ --- __-");
    EXPECT_THAT(slave.notes, ElementsAre("write", "80"));
}

TEST_F(I2cLinesTest, LinesThatChangeTogetherAreTakenSclFirstWhenItFalls) {
    start();
    EXPECT_TRUE(write(0x79));
    //    the 8 bits of 0xA1      ack
    wave("_- _- _- _- _- _- _- _- _- _", "-- -- -- -- -- -- -- -- __ -");
    EXPECT_EQ(read(false), 0xA2u);
    EXPECT_EQ(read(false), 0xFFu) << "the slave has let go of the line";
    EXPECT_THAT(slave.notes, ElementsAre("read"));
}

TEST_F(I2cLinesTest, OtherAddressesAndLonelyClockPulsesAreNobodys) {
    start();
    EXPECT_FALSE(write(0x7A));
    EXPECT_FALSE(write(0x55));
    stop();
    wave("-_____--", "---__---"); // one clock pulse with SDA moving while SCL is low
    EXPECT_FALSE(write(0x78)) << "without a start condition";
    EXPECT_TRUE(slave.notes.empty());
}

TEST_F(I2cLinesTest, ANewStartEndsAMessageInItsMiddle) {
    start();
    write(0x78);
    clock(true);
    clock(true);
    wave("_-", "--");
    start();
    EXPECT_TRUE(write(0x78));
    EXPECT_TRUE(write(0x20));
    stop();
    EXPECT_THAT(slave.notes, ElementsAre("write", "write", "32"));
}

} // namespace
