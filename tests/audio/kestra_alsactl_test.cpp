#include "audio/kestra_alsactl.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using Log = std::vector<std::string>;

constexpr const char* status = "IEC958 Capture RXP Status";
constexpr const char* received = "IEC958 Capture RXC Channel";

// A card of elements with values, which notes what is done to it. Integers and single bytes
// are written in hexadecimal.
class ScriptedCard : public KLkestraALSActl {
public:
    using KLkestraALSActl::get;
    using KLkestraALSActl::set;

    int open(const char* card) override {
        log.push_back(std::string("open ") + card);
        return openResult;
    }
    void close() override { log.emplace_back("close"); }

    int get(KLTctlRecord& record, const char* name, KLTctlKind kind) override {
        if (values.count(name) == 0) return -ENOENT;
        record = values[name];
        EXPECT_EQ(record.kind, kind) << name;
        return 0;
    }

    int set(const KLTctlRecord& record, const char* name, KLTctlKind kind, int index) override {
        EXPECT_EQ(record.kind, kind) << name;
        EXPECT_EQ(index, -1) << name;
        const bool bytes = kind == KLTctlKind::bytes;
        char line[100];
        snprintf(line, sizeof line, "%s %s %x", name, bytes ? "bytes" : "integer",
                 bytes ? record.bytes[0] : static_cast<unsigned>(record.integer(0)));
        log.emplace_back(line);
        return writeResults.count(name) == 0 ? 0 : writeResults[name];
    }

    void holds(const char* name, int value) { values[name].integer(0, value); }
    void holdsBytes(const char* name, unsigned char byte0, unsigned char byte3) {
        KLTctlRecord& record = values[name];
        record.kind = KLTctlKind::bytes;
        record.bytes[0] = byte0;
        record.bytes[3] = byte3;
    }

    Log takeLog() { return std::exchange(log, {}); }

    int openResult = 0;
    std::map<std::string, int> writeResults;

private:
    std::map<std::string, KLTctlRecord> values;
    Log log;
};

struct Reading {
    int measured_hz = 1;
    int status_hz = 2;
    bool professional = false;
    bool locked = false;
};

// What get() leaves of these variables; `professional` is the opposite of what the test
// expects, so that it shows whether it was written.
Reading read(ScriptedCard& card, bool professional = false) {
    Reading reading;
    reading.professional = professional;
    EXPECT_EQ(
        card.get(reading.measured_hz, reading.status_hz, reading.professional, reading.locked), 0);
    EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1", "close"));
    return reading;
}

TEST(KestraAlsaCtl, TellsMeasuredRateAndLock) {
    const struct {
        int status;
        int measured_hz;
        bool locked;
    } cases[] = {
        {0x0E, 0, false},
        {0x0C, 32000, false},
        {0x0B, 44100, true},
        {0x08, 48000, false},
        {0x07, 88200, true},
        {0x04, 96000, false},
        {0x02, 1, false},
        {0x01, 1, true},
        {0x19, 48000, true},
        {-1, 0, true},
        {0x1234'560C, 32000, false},
    };
    for (const auto& c : cases) {
        ScriptedCard card;
        card.holds(status, c.status);
        const Reading reading = read(card);
        EXPECT_EQ(reading.measured_hz, c.measured_hz) << c.status;
        EXPECT_EQ(reading.locked, c.locked) << c.status;
        EXPECT_EQ(reading.status_hz, 2) << "cannot be read";
        bool locked = !c.locked;
        EXPECT_EQ(card.lock(locked), 0);
        EXPECT_EQ(locked, c.locked) << c.status;
        EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1", "close"));
    }
}

TEST(KestraAlsaCtl, TellsRateOfChannelStatus) {
    const struct {
        unsigned char byte0;
        unsigned char byte3;
        bool professional;
        int status_hz;
    } cases[] = {
        {0x81, 0, true, 48000},     {0x41, 3, true, 44100},     {0xC1, 2, true, 32000},
        {0x01, 2, true, 2},         {0xBF, 0, true, 48000},     {0x00, 0x02, false, 48000},
        {0xC0, 0x00, false, 44100}, {0x80, 0xF3, false, 32000}, {0x40, 0x01, false, 2},
        {0x00, 0x0A, false, 2},
    };
    for (const auto& c : cases) {
        ScriptedCard card;
        EXPECT_EQ(read(card, !c.professional).professional, !c.professional) << "cannot be read";
        card.holdsBytes(received, c.byte0, c.byte3);
        const Reading reading = read(card, !c.professional);
        EXPECT_EQ(reading.professional, c.professional) << int{c.byte0};
        EXPECT_EQ(reading.status_hz, c.status_hz) << int{c.byte0} << ' ' << int{c.byte3};
    }
}

TEST(KestraAlsaCtl, FailsWhereTheCardCannotBeOpened) {
    ScriptedCard card;
    card.holds(status, 0x0B);
    card.openResult = -ENODEV;
    int measured_hz = 1;
    int status_hz = 2;
    bool professional = true;
    bool locked = false;
    EXPECT_EQ(card.get(measured_hz, status_hz, professional, locked), -1);
    EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1"));
    EXPECT_EQ(card.lock(locked), -1);
    EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1", "close"));
    EXPECT_EQ(card.set(48000, 48000, false), -1);
    EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1"));
    unsigned change = 5;
    EXPECT_EQ(card.lock_change(change, true), -1);
    EXPECT_EQ(measured_hz, 1);
    EXPECT_FALSE(locked);
}

TEST(KestraAlsaCtl, TellsAndClearsALockChange) {
    constexpr const char* change = "IEC958 Capture RXP Lock Change";
    ScriptedCard card;
    card.holds(change, 0x5A);
    unsigned value = 0;
    EXPECT_EQ(card.lock_change(value, false), 0);
    EXPECT_EQ(value, 0x5Au);
    EXPECT_THAT(card.takeLog(), ElementsAre("open hw:0,1", "close"));
    EXPECT_EQ(card.lock_change(value, true), 0);
    EXPECT_THAT(card.takeLog(),
                ElementsAre("open hw:0,1", std::string(change) + " integer 5a", "close"));
}

TEST(KestraAlsaCtl, ProgramsTheTransmitter) {
    const struct {
        int status_hz;
        int clock_hz;
        bool flag;
        int receiver;
        const char* rateCode;
        const char* channelStatus;
    } cases[] = {
        {32000, 32000, false, 0, "14", "c1"}, {44100, 44100, false, 0, "80", "41"},
        {48000, 48000, false, 0, "0", "81"},  {88200, 88200, false, 0, "90", "1"},
        {48000, 96000, true, 0, "11", "81"},  {0, 44100, true, 0, "81", "1"},
        {32000, 22050, false, 0, "0", "c1"},  {48000, 0, true, 0x0C, "15", "81"},
        {48000, 0, false, 0x0B, "80", "81"},  {48000, 0, false, 0x06, "90", "81"},
        {48000, 0, true, 0x04, "11", "81"},   {44100, 0, false, 0x0E, "0", "41"},
        {44100, 0, true, 0x02, "1", "41"},    {44100, 48000, false, 0x0C, "0", "41"},
    };
    for (const auto& c : cases) {
        ScriptedCard card;
        card.holds(status, c.receiver);
        EXPECT_EQ(card.set(c.status_hz, c.clock_hz, c.flag), 0);
        EXPECT_THAT(card.takeLog(),
                    ElementsAre("open hw:0,1", "IEC958 Playback Default bytes 1",
                                "IEC958 Playback TXC State integer 1",
                                "IEC958 Capture RXP Processing State integer 1",
                                std::string("IEC958 Playback TXC SPdif integer ") + c.rateCode,
                                std::string("IEC958 Playback TXC Channel bytes ") + c.channelStatus,
                                "close"))
            << c.status_hz << ' ' << c.clock_hz;
    }
    ScriptedCard leftOpen;
    EXPECT_EQ(leftOpen.set(0, 48000, false), -1) << "nothing to program";
    EXPECT_THAT(leftOpen.takeLog(), ElementsAre("open hw:0,1"));
}

// Writes, in their order, with what a refusal and a write that changed nothing make of them.
TEST(KestraAlsaCtl, ClosesAtTheFirstElementThatRefuses) {
    const struct {
        const char* name;
        int afterRefusal;
        int afterIgnored;
        size_t linesAfterIgnored;
    } cases[] = {
        {"IEC958 Playback Default", -1, 0, 3},
        {"IEC958 Playback TXC State", -1, -1, 4},
        {"IEC958 Capture RXP Processing State", -1, -1, 5},
        {"IEC958 Playback TXC SPdif", -1, -1, 6},
        {"IEC958 Playback TXC Channel", -1, 0, 7},
    };
    for (const auto& c : cases) {
        ScriptedCard card;
        card.writeResults[c.name] = -EPERM;
        EXPECT_EQ(card.set(48000, 48000, false), c.afterRefusal) << c.name;
        EXPECT_EQ(card.takeLog().back(), "close");
        card.writeResults[c.name] = KLlinuxALSActl::writeIgnored;
        EXPECT_EQ(card.set(48000, 48000, false), c.afterIgnored) << c.name;
        const Log log = card.takeLog();
        EXPECT_EQ(log.size(), c.linesAfterIgnored) << c.name;
        EXPECT_EQ(log.back(), "close");
    }
}

} // namespace
