// The sound card as the program reaches it: streams in time, control elements, faults.
#include "sim/models/sound/sound_card.h"

#include "fake_surroundings.h"

#include "sim/models/device.h"
#include "sim/models/sound/samples.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace k4sim;
using State = PcmStream::State;

constexpr Microseconds ms = 1000;

struct Bench {
    explicit Bench(Board board = Board::aes) : device(board, surroundings) {}

    SoundCard& card() { return device.sound_card(); }
    PcmStream& playback() { return card().pcm(0)->playback(); }
    PcmStream& capture() { return card().pcm(0)->capture(); }

    void set_line_levels() {
        const struct {
            std::string_view name;
            std::int32_t value;
        } levels[] = {{"Line Out Playback Volume", 127},
                      {"Line Out Playback Switch", 1},
                      {"Line In Capture Volume", 24},
                      {"Line In Capture Switch", 1}};
        for (const auto& [name, value] : levels)
            card().put(*card().find_control(name, 0), std::array{value, value});
    }
    void open_both(unsigned rate_hz, unsigned buffer_frames, unsigned capture_frames = 0) {
        ASSERT_EQ(playback().open(), PcmStream::OpenResult::opened);
        ASSERT_EQ(capture().open(), PcmStream::OpenResult::opened);
        const unsigned channels = playback().limits().channels;
        ASSERT_TRUE(playback().configure({SampleFormat::s16, rate_hz, channels, buffer_frames}));
        ASSERT_TRUE(capture().configure(
            {SampleFormat::s16, rate_hz, 2, std::max(buffer_frames, capture_frames)}));
    }

    FakeSurroundings surroundings;
    Device device;
};

TEST(SoundCard, TheClockMovesFramesToTheMicrosecond) {
    for (const unsigned rate_hz : {44100U, 48000U}) {
        Bench bench;
        bench.surroundings.advance(123'457);
        bench.open_both(rate_hz, 65536);
        ASSERT_TRUE(bench.capture().start());
        for (const std::int64_t frame : {1, 2, 1000, 44099, 65000}) {
            bench.surroundings.advance(bench.capture().due(frame) - bench.surroundings.now() - 1);
            EXPECT_EQ(bench.capture().position(), frame - 1) << rate_hz;
            bench.surroundings.advance(1);
            EXPECT_EQ(bench.capture().position(), frame) << rate_hz;
            EXPECT_EQ(bench.capture().available(), frame);
        }
    }
}

TEST(SoundCard, WhatIsPlayedComesBackAfterTheLatencyWhoeverStartedFirst) {
    for (const Microseconds capture_start : {Microseconds{0}, 10 * ms, 30 * ms}) {
        Bench bench;
        bench.set_line_levels();
        bench.card().plug_analog(true);
        bench.open_both(48000, 4800, 9600);
        std::vector<std::int16_t> ramp(4800 * 6);
        for (std::size_t i = 0; i < ramp.size(); ++i)
            ramp[i] = static_cast<std::int16_t>(i / 6 * 6);
        EXPECT_EQ(bench.playback().write(ramp.data(), 4800), 4800U);
        const Microseconds play_start = 10 * ms;
        for (const Microseconds now : {0 * ms, 10 * ms, 20 * ms, 30 * ms}) {
            bench.surroundings.advance(now - bench.surroundings.now());
            EXPECT_EQ(now == play_start, now == play_start && bench.playback().start());
            EXPECT_EQ(now == capture_start, now == capture_start && bench.capture().start());
        }
        bench.surroundings.advance(100 * ms);
        std::vector<std::int16_t> heard(4800 * 2);
        ASSERT_EQ(bench.capture().read(heard.data(), 4800), 4800U);
        // Played frame n is heard 40 frames later by the common clock.
        const std::int64_t offset = (capture_start - play_start) * 48 / 1000 - 40;
        for (std::int64_t frame = 100; frame < 4800; ++frame) {
            const std::int64_t played = frame + offset;
            const int expected = played >= 0 && played < 4800 ? static_cast<int>(played) * 6 : 0;
            ASSERT_NEAR(heard[static_cast<std::size_t>(frame) * 2], expected, 40)
                << frame << " " << capture_start;
        }
    }
}

TEST(SoundCard, EveryFormatCarriesTheSameSignal) {
    constexpr SampleFormat formats[] = {SampleFormat::s16, SampleFormat::s24, SampleFormat::s32,
                                        SampleFormat::float32};
    for (const SampleFormat format : formats) {
        Frame frames[] = {{0, 512}, {-512, 1 << 23}, {-full_scale, full_scale - 512}};
        std::byte memory[64];
        encode_samples(frames, format, memory);
        Frame back[3];
        decode_samples(memory, format, 2, back);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(back[i].left, frames[i].left) << static_cast<int>(format);
            EXPECT_EQ(back[i].right, frames[i].right) << static_cast<int>(format);
        }
        frames[0] = {2 * full_scale, -2 * full_scale};
        encode_samples(std::span(frames).first(1), format, memory);
        decode_samples(memory, format, 2, std::span(back).first(1));
        EXPECT_NEAR(back[0].left, full_scale, 512);
        EXPECT_EQ(back[0].right, -full_scale);
    }
    const std::uint32_t twentyfour[] = {0xAA800000, 0x557FFFFF}; // the upper byte does not count
    Frame frame;
    decode_samples(twentyfour, SampleFormat::s24, 2, std::span(&frame, 1));
    EXPECT_EQ(frame.left, -full_scale);
    EXPECT_EQ(frame.right, full_scale - 2);
}

TEST(SoundCard, ElementsKeepWhatFitsAndRefuseTheRest) {
    Bench bench;
    std::array<std::int32_t, control_values_max> values{127, 100};
    const auto put = [&](std::string_view name, unsigned number) {
        return bench.card().put(*bench.card().find_control(name, number), values);
    };
    EXPECT_EQ(put("Line Out Playback Volume", 0), ControlResult::changed);
    EXPECT_EQ(put("Line Out Playback Volume", 0), ControlResult::unchanged);
    EXPECT_EQ(bench.card().codec().settings().line_out, (CodecSettings::Pair<int>{127, 100}));
    EXPECT_EQ(bench.surroundings.events.back(),
              "sound control element=Line Out Playback Volume values=127 100");
    values = {127, 128};
    EXPECT_EQ(put("Line Out Playback Volume", 0), ControlResult::invalid);
    EXPECT_EQ(bench.card().codec().settings().line_out[1], 100);
    EXPECT_EQ(put("IEC958 Capture RXP Status", 1), ControlResult::denied);
    EXPECT_EQ(bench.card().put(1000, values), ControlResult::absent);
    ASSERT_TRUE(bench.device.set_fault("card-mixer-refuses", ""));
    values = {1, 1};
    EXPECT_EQ(put("Line Out Playback Volume", 0), ControlResult::refused);
    EXPECT_EQ(put("IEC958 Playback TXC State", 1), ControlResult::changed);
}

} // namespace
