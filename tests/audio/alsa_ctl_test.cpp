// On the control elements of the virtual card.
#include "audio/kestra_alsactl.h"
#include "audio/pcm_line.h"
#include "baselib/time/clock.h"
#include "sim/models/device.h"
#include "support/boards.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>

namespace {

constexpr auto integers = KLTctlKind::integers;
constexpr auto bytes = KLTctlKind::bytes;
constexpr int any = KLlinuxALSActl::anyIndex;
constexpr const char* transmitter_rate = "IEC958 Playback TXC SPdif";
constexpr const char* receiver_status = "IEC958 Capture RXP Status";
constexpr const char* channel_status = "IEC958 Playback TXC Channel";

// What get() leaves of these variables: rates measured and of the status, format, lock.
using Reading = std::tuple<int, int, bool, bool>;

class AlsaCtl : public BoardTest {
protected:
    AlsaCtl() { testing::internal::CaptureStderr(); }
    ~AlsaCtl() override { EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); } // by libasound

    int write(const char* name, int value, int index = any) {
        KLTctlRecord values;
        values.integer(0, value);
        return control.set(values, name, integers, index);
    }
    Reading read(bool professional, bool locked, int result = 0) {
        int measured_hz = 1, status_hz = 2;
        bool alone = locked;
        EXPECT_EQ(control.get(measured_hz, status_hz, professional, locked), result);
        EXPECT_EQ(control.lock(alone), result);
        EXPECT_EQ(alone, locked);
        EXPECT_FALSE(control.isOpen());
        return {measured_hz, status_hz, professional, locked};
    }
    // The output at that rate, with the cable in, until the receiver has locked.
    void run_line(unsigned rate_hz) {
        card().plug_digital(true);
        ASSERT_TRUE(output.open("hw:0,1", KLTalsaPCMline::Direction::playback));
        ASSERT_TRUE(output.setRate(rate_hz));
        KLFdelay(2 * k4sim::AesEbu::lock_time_us);
    }
    static k4sim::SoundCard& card() { return k4sim::machine().device().sound_card(); }
    static k4sim::AesEbu& line() { return *card().aes(); }

    KLkestraALSActl control;
    KLTctlRecord record;
    KLTalsaPCMline output;
};

TEST_F(AlsaCtl, OpensTheCardOfADevice) {
    for (const auto& [name, error] :
         {std::pair{"hw:0,1", 0}, {"", -EINVAL}, {nullptr, -EINVAL}, {"hw:1,1", -ENOENT}}) {
        EXPECT_EQ(control.open("hw:0"), 0);
        EXPECT_EQ(control.open(name), error);
        EXPECT_EQ(control.isOpen(), error == 0);
    }
}

TEST_F(AlsaCtl, ARecordHoldsItsIntegersSideBySide) {
    int32_t sent[KLTctlRecord::integerCount];
    for (int i = 0; i < KLTctlRecord::integerCount; ++i)
        record.integer(i, sent[i] = 1000 - i * 0x10001);
    EXPECT_EQ(std::memcmp(record.bytes.data(), sent, KLTctlRecord::byteCount), 0);
    EXPECT_EQ(record.integer(127), sent[127]);
}

TEST_F(AlsaCtl, WritesAndReadsByName) {
    // Named without its device an element is found by name alone.
    for (const auto& [name, value] :
         {std::pair{"hw:0,1", 0x80}, {"hw:0", 0x80}, {"hw:0,7", 0x14}}) {
        ASSERT_EQ(control.open(name), 0);
        EXPECT_EQ(write(transmitter_rate, value, 0), 0) << name;
        EXPECT_EQ(line().spdif(), value);
        EXPECT_EQ(control.get(record, transmitter_rate, integers), 0);
        EXPECT_EQ(record.integer(0), value);
    }
    KLTctlRecord sent;
    sent.integer(0, 3);
    sent.integer(1, 5);
    EXPECT_EQ(control.set(sent, "Line In Capture Volume", integers, any), 0);
    EXPECT_EQ(control.get(record, "Line In Capture Volume", integers), 0);
    EXPECT_THAT(card().codec().settings().line_in, testing::ElementsAre(3, 5));
    EXPECT_EQ(record.bytes, sent.bytes);
    EXPECT_EQ(control.set(sent, channel_status, bytes, any), 0);
    EXPECT_EQ(control.get(record, channel_status, bytes), 0);
    EXPECT_EQ(line().channel_status()[4], 5);
    EXPECT_TRUE(record.kind == bytes && record.bytes == sent.bytes);
}

TEST_F(AlsaCtl, TellsWhyItCannot) {
    record.integer(0, 77);
    EXPECT_EQ(control.get(record, receiver_status, integers), -ENODEV);
    EXPECT_EQ(write(transmitter_rate, 1), -ENODEV);
    ASSERT_EQ(control.open("hw:0,1"), 0);
    EXPECT_EQ(control.get(record, "No Such Element", integers), -ENOENT);
    EXPECT_EQ(control.get(record, receiver_status, bytes), -EINVAL);
    EXPECT_EQ(control.get(record, channel_status, integers), -EINVAL);
    EXPECT_EQ(record.integer(0), 77);
    EXPECT_EQ(write(transmitter_rate, 1, 1), -ENOENT);
    EXPECT_EQ(write(transmitter_rate, 256), -EINVAL);
    EXPECT_EQ(write(receiver_status, 1), KLlinuxALSActl::writeIgnored);
}

TEST_F(AlsaCtl, ProgramsTheTransmitterAndReadsTheReceiver) {
    const struct {
        int status_hz, clock_hz;
        bool flag; // consumer format
        int rate_code, channel_status;
        int received_status_hz; // 2: can't be told
    } cases[] = {
        {32000, 32000, false, 0x14, 0xC1, 32000}, {44100, 44100, false, 0x80, 0x41, 44100},
        {48000, 48000, false, 0x00, 0x81, 48000}, {88200, 88200, false, 0x90, 0x01, 2},
        {44100, 96000, false, 0x10, 0x41, 44100}, {96000, 32000, false, 0x14, 0x01, 2},
        {48000, 32000, true, 0x15, 0x81, 32000},  {0, 44100, true, 0x81, 0x01, 44100},
        {32000, 48000, true, 0x01, 0xC1, 48000},  {44100, 96000, true, 0x11, 0x41, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.status_hz << ' ' << c.clock_hz << ' ' << c.flag);
        use_board(k4sim::Board::aes);
        EXPECT_EQ(control.set(c.status_hz, c.clock_hz, c.flag), 0);
        // Format and lock are the opposite before, so that it shows what was written.
        EXPECT_EQ(read(true, true), (Reading{0, 44100, false, false})) << "without lock";
        run_line(static_cast<unsigned>(c.clock_hz));
        EXPECT_EQ(read(c.flag, false), (Reading{c.clock_hz, c.received_status_hz, !c.flag, true}));
        // Once more, at the rate that is measured.
        EXPECT_EQ(control.set(c.status_hz, 0, c.flag), 0);
        EXPECT_EQ(line().spdif(), c.rate_code);
        EXPECT_EQ(line().default_status()[0], 0x01);
        EXPECT_EQ(line().channel_status()[0], c.channel_status);
        EXPECT_TRUE(line().transmitter_on() && line().processing() && !control.isOpen());
    }
}

// Another clock than those of the table is programmed as 48000 Hz.
TEST_F(AlsaCtl, TellsALockChangeAndLeavesWhatItCannotTell) {
    EXPECT_EQ(control.set(48000, 22050, false), 0);
    EXPECT_EQ(line().spdif(), 0x00);
    run_line(48000);
    unsigned change = 5;
    for (const auto& [reset, value] : {std::pair{false, 1U}, {true, 1U}, {true, 0U}}) {
        EXPECT_EQ(control.lock_change(change, reset), 0);
        EXPECT_EQ(change, value) << reset;
    }
    k4sim::machine().apply_fault({"aes-measured-rate", "0", 0});
    EXPECT_EQ(read(false, false), (Reading{0, 48000, true, true}));
    card().set_receiver_missing(true);
    EXPECT_EQ(read(true, true), (Reading{1, 2, true, false}));
    card().set_present(false);
    EXPECT_EQ(read(true, true, -1), (Reading{1, 2, true, true}));
    EXPECT_EQ(control.set(48000, 48000, false), -1);
    EXPECT_EQ(control.lock_change(change, true), -1);
    EXPECT_EQ(change, 0U);
}

TEST_F(AlsaCtl, InitSwitchesOnWhatIsOpen) {
    EXPECT_EQ(control.init(), -1);
    EXPECT_EQ(control.set(0, 48000, false), -1) << "nothing to program";
    EXPECT_TRUE(control.isOpen() && !line().transmitter_on());
    EXPECT_EQ(control.init(), 0);
    EXPECT_TRUE(line().transmitter_on() && line().processing());
    card().set_receiver_missing(true);
    EXPECT_EQ(control.init(), -1);
    EXPECT_FALSE(control.isOpen());
}

// A card where the writes to one element come to something else.
struct ChoosyCard : KLkestraALSActl {
    ChoosyCard(std::string name, int result) : chosen(std::move(name)), answer(result) {}
    using KLkestraALSActl::set;
    int set(const KLTctlRecord& record, const char* name, KLTctlKind kind, int index) override {
        return name == chosen ? answer : KLkestraALSActl::set(record, name, kind, index);
    }
    const std::string chosen;
    const int answer;
};

TEST_F(AlsaCtl, ClosesWhereAnElementRefuses) {
    for (const auto& [name, ignored] : {std::pair{"IEC958 Playback Default", 0},
                                        {"IEC958 Playback TXC State", -1},
                                        {"IEC958 Capture RXP Processing State", -1},
                                        {transmitter_rate, -1},
                                        {channel_status, 0}}) {
        for (const int answer : {-EPERM, KLlinuxALSActl::writeIgnored}) {
            ChoosyCard choosy(name, answer);
            EXPECT_EQ(choosy.set(48000, 48000, false), answer < 0 ? -1 : ignored) << name;
            EXPECT_FALSE(choosy.isOpen());
        }
    }
    use_board(k4sim::Board::aes);
    EXPECT_EQ(ChoosyCard("IEC958 Playback Default", 1).set(48000, 48000, false), 0);
    EXPECT_FALSE(line().transmitter_on()) << "nothing else is written";
}

} // namespace
