// The joints at which a model breaks, each against what its fault is by the book.
#include "fake_surroundings.h"
#include "sim/models/joints/bit_joint.h"
#include "sim/models/joints/byte_joint.h"
#include "sim/models/panel/encoder.h"
#include "sim/models/sound/channel_joint.h"
#include "sim/models/sound/sample_clock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace k4sim;

namespace {

// The sites of one joint.
struct Sites {
    FaultSites sites{Board::aes, 5};
    void set(std::string_view site, std::string_view way, bool broken = true) {
        ASSERT_TRUE(sites.work(site, way, broken)) << site << "=" << way;
    }
};

bool bit(unsigned bits, unsigned number) { return (bits >> number & 1) != 0; }

TEST(JointsTest, ABitIsAsItsFaultHasItAndTheOthersAreAsTheyWere) {
    BitJoint joint;
    Sites s;
    joint.name_bits(s.sites, "b", 0xFF, BitJoint::steady);
    joint.name_shorts(s.sites, "s", 8, 8);
    EXPECT_EQ(s.sites.all().size(), 8U * 3 + 28U * 2);
    for (const SiteFault& fault : s.sites.all()) {
        const std::string site = fault.fault.substr(0, fault.fault.find('='));
        const std::string way = fault.fault.substr(site.size() + 1);
        const unsigned one = static_cast<unsigned>(site[1] - '0');
        const unsigned two = site.size() > 2 ? static_cast<unsigned>(site[3] - '0') : one;
        s.set(site, way);
        for (unsigned sent = 0; sent < 256; ++sent) {
            const bool a = bit(sent, one);
            const bool b = bit(sent, two);
            const std::map<std::string, bool> expected = {{"stuck-0", false},
                                                          {"stuck-1", true},
                                                          {"inverted", !a},
                                                          {"tied-low", a && b},
                                                          {"tied-high", a || b}};
            const unsigned came = joint.through(sent);
            EXPECT_EQ(bit(came, one), expected.at(way)) << fault.fault << " of " << sent;
            EXPECT_EQ(bit(came, two), expected.at(way)) << fault.fault << " of " << sent;
            EXPECT_EQ((came ^ sent) & ~(1U << one | 1U << two), 0U);
        }
        s.set(site, way, false);
        EXPECT_EQ(joint.through(0x5A), 0x5AU) << fault.fault;
    }
}

TEST(JointsTest, WhatIsFlakyIsWrongOnceInEachRunAndTheSameWithTheSameSeed) {
    std::string courses[2];
    for (std::string& course : courses) {
        BitJoint joint;
        Sites s;
        joint.name_line(s.sites, "line", 0, BitJoint::flaky_100);
        s.set("line", "flaky-100");
        for (int run = 0; run < 20; ++run) {
            int wrong = 0;
            for (int time = 0; time < 100; ++time)
                if (joint.through(0) != 0) {
                    ++wrong;
                    course += std::to_string(time) + " ";
                }
            EXPECT_EQ(wrong, 1);
        }
    }
    EXPECT_EQ(courses[0], courses[1]);
}

TEST(JointsTest, BytesGetLostDoubledAndFlippedOnceInAThousand) {
    const struct {
        const char *site, *way;
        unsigned out, wrong; // of 3000
    } cases[] = {{"l.bytes", "lost-1000", 2997, 0},    {"l.bytes", "doubled-1000", 3003, 0},
                 {"l.bytes", "flipped-1000", 3000, 3}, {"l.wire", "open", 0, 0},
                 {"l.bit5", "stuck-1", 3000, 3000},    {"l.latency", "20ms", 3000, 0}};
    for (const auto& one : cases) {
        ByteJoint joint;
        Sites s;
        joint.name_sites(s.sites, "l", ByteJoint::Latency::some);
        s.set(one.site, one.way);
        unsigned out = 0;
        unsigned wrong = 0;
        for (int time = 0; time < 3000; ++time) {
            std::uint8_t byte = 0x41;
            const unsigned times = joint.pass(byte);
            out += times;
            wrong += times > 0 && byte != 0x41;
        }
        EXPECT_EQ(std::pair(out, wrong), std::pair(one.out, one.wrong)) << one.way;
        EXPECT_EQ(joint.delay(), one.site == std::string_view("l.latency") ? 20'000 : 0);
    }
}

// Four phases a cycle: one that stands still leaves one edge in two, there and back.
TEST(JointsTest, AKnobCountsWhatItsContactsTell) {
    const struct {
        const char *site, *way;
        unsigned right_3, back_3; // the counter after three steps to the right, and back again
    } cases[] = {{"k.knob", "skipping", 2, 1},  {"k.knob", "bouncing", 3, 0},
                 {"k.knob", "reversed", 13, 0}, {"k.phaseA", "stuck-0", 15, 0},
                 {"k.phaseB", "stuck-0", 0, 0}, {"k.counter.bit0", "stuck-1", 3, 1}};
    for (const auto& one : cases) {
        Encoder encoder(4);
        Sites s;
        encoder.name_sites(s.sites, "k", [] {});
        s.set(one.site, one.way);
        const auto turn = [&](bool right) {
            for (int step = 0; step < 3; ++step)
                encoder.step(right);
            return encoder.counter();
        };
        EXPECT_EQ(turn(true), one.right_3) << one.site << "=" << one.way;
        EXPECT_EQ(turn(false), one.back_3) << one.site << "=" << one.way;
    }
}

// A second of a 1000 Hz tone of -20 dB peak at 48000 Hz: RMS and mean in dB.
TEST(JointsTest, AChannelHasTheLevelThatItsFaultMakes) {
    constexpr double silence = -200;
    const struct {
        const char *site, *way;
        double rms_db, mean_db;
    } cases[] = {
        {"c.gain", "-6", -29.01, silence},         {"c.gain", "+3", -20.01, silence},
        {"c.offset", "-20", -18.24, -20},          {"c.noise", "-40", -22.96, silence},
        {"c.hum", "-60", -23.01, silence},         {"c.polarity", "inverted", -23.01, silence},
        {"c.samples", "slipped", -23.01, silence}, {"c.clip", "-20", -23.01, silence}};
    for (const auto& one : cases) {
        ChannelJoint joint;
        Sites s;
        joint.name_sites(s.sites, "c");
        s.set(one.site, one.way);
        std::vector<Frame> frames(48000);
        for (std::size_t i = 0; i < frames.size(); ++i)
            frames[i].right =
                std::lround(0.1 * full_scale * std::sin(2 * M_PI * static_cast<double>(i) / 48));
        const std::vector<Frame> sent = frames;
        joint.carry(frames, &Frame::right, 0, 48000);
        double sum = 0;
        double power = 0;
        for (const Frame& frame : frames) {
            EXPECT_EQ(frame.left, 0);
            sum += frame.right / double{full_scale};
            power += std::pow(frame.right / double{full_scale}, 2);
        }
        EXPECT_NEAR(10 * std::log10(power / 48000), one.rms_db, 0.05) << one.site;
        if (one.mean_db > silence)
            EXPECT_NEAR(20 * std::log10(sum / 48000), one.mean_db, 0.01) << one.site;
        else
            EXPECT_LT(std::abs(sum / 48000), 1e-4) << one.site;
        const std::string_view way = one.way;
        const std::int32_t expected = way == "inverted"  ? -sent[13].right
                                      : way == "slipped" ? sent[12].right
                                                         : frames[13].right;
        EXPECT_EQ(frames[13].right, expected);
    }
}

TEST(JointsTest, ASampleClockIsOffByItsErrorAndKnowsWhenAFrameBegins) {
    for (const std::int64_t ppm : {0, 100, -1000, 20'000})
        for (const unsigned rate_hz : {44100U, 48000U}) {
            SampleClock clock;
            clock.set_error(10'000'000, ppm); // right for ten seconds
            for (const Microseconds time : {10'000'001LL, 12'345'678LL, 3'599'999'999LL}) {
                const long double wrong = (time - 10'000'000LL) * (ppm / 1e6L);
                const auto frames = ppm == 0
                                        ? time * rate_hz / 1'000'000
                                        : std::llround(std::floor((time + wrong) * rate_hz / 1e6L));
                EXPECT_NEAR(clock.frame(time, rate_hz), frames, ppm == 0 ? 0 : 1);
                const Microseconds begin = clock.begin(frames, rate_hz);
                EXPECT_GE(clock.frame(begin, rate_hz), frames);
                EXPECT_LT(clock.frame(begin - 1, rate_hz), frames);
            }
        }
}

} // namespace
