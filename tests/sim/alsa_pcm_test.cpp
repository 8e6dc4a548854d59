// The streams of the sound card: opening, limits, and time.
#include "alsa_client.h"

#include <cmath>

using namespace k4sim;

namespace {

constexpr auto playback = SND_PCM_STREAM_PLAYBACK;
constexpr auto capture = SND_PCM_STREAM_CAPTURE;
constexpr auto s16 = SND_PCM_FORMAT_S16_LE;

// Silence for six channels, or room for what is recorded.
std::int16_t samples[6 * 48000];

void sleep_ms(unsigned duration) { usleep(duration * 1000); }

// How long something takes in virtual time, to the nearest ms: looks at clocks take some µs.
template <typename Action>
long duration_ms(Action action) {
    const Microseconds start = machine().now();
    action();
    return std::lround(static_cast<double>(machine().now() - start) / 1000.0);
}

using AlsaPcmTest = AlsaTest;

TEST_F(AlsaPcmTest, DevicesOpenUnderTheStockNamesForOneAtATime) {
    for (const auto& [name, result] :
         {std::pair{"default", 0}, {"hw:0,0,1", -EBUSY}, {"hw:31", -ENOENT}, {"hw:32", -EINVAL}})
        EXPECT_EQ(Pcm(name).result, result) << name;
    const Pcm first("hw:0");
    EXPECT_EQ(Pcm("hw:0").result, -EBUSY);
    EXPECT_EQ(Pcm("hw:0", capture).result, 0);
    use_board(Board::plain);
    EXPECT_EQ(Pcm("hw:0,1", capture).result, -ENOENT);
}

TEST_F(AlsaPcmTest, LatencyIsTheBufferAndTheCardsLimitsHold) {
    constexpr auto s32 = SND_PCM_FORMAT_S32_LE;
    const struct {
        Board board;
        snd_pcm_stream_t stream;
        snd_pcm_format_t format;
        unsigned channels, rate, latency_ms;
        snd_pcm_uframes_t buffer, period; // 0: refused
    } cases[] = {
        {Board::plain, playback, SND_PCM_FORMAT_S24_LE, 4, 44100, 500, 22050, 5512},
        {Board::aes, playback, SND_PCM_FORMAT_FLOAT_LE, 6, 96000, 10, 960, 240},
        {Board::aes, playback, s32, 6, 48000, 1300, 32768, 8192}, // all there is
        {Board::aes, playback, s16, 6, 48000, 1, 128, 64},        // the least there is
        {Board::plain, playback, s16, 6, 48000, 100, 0, 0},
        {Board::aes, capture, s16, 1, 48000, 100, 0, 0},
    };
    for (const auto& row : cases) {
        use_board(row.board);
        const Pcm pcm("hw:0", row.stream);
        snd_pcm_uframes_t buffer = 0, period = 0;
        const int result = pcm.set(row.format, row.channels, row.rate, row.latency_ms);
        EXPECT_EQ(result, row.buffer > 0 ? 0 : -EINVAL);
        snd_pcm_get_params(pcm, &buffer, &period);
        EXPECT_EQ(buffer, row.buffer);
        EXPECT_EQ(period, row.period);
    }
    use_board(Board::aes);
    for (const unsigned rate : {8000, 12345, 32000, 44100, 88200, 96000, 176400, 192000}) {
        const bool is_digital = 32000 <= rate && rate <= 96000;
        EXPECT_EQ(Pcm("hw:0,0", capture).set(s16, 2, rate), rate == 12345 ? -EINVAL : 0) << rate;
        EXPECT_EQ(Pcm("hw:0,1").set(s16, 2, rate), is_digital ? 0 : -EINVAL) << rate;
    }
    const Pcm in("hw:0", capture), out("hw:0");
    EXPECT_EQ(out.set(s16, 6, 48000), 0);
    EXPECT_EQ(in.set(s16, 2, 44100), -EINVAL) << "both directions have one clock";
    EXPECT_EQ(snd_pcm_hw_free(out), 0);
    EXPECT_EQ(in.set(s16, 2, 44100), 0);
}

// A buffer exactly played and an empty one must not be taken for each other.
TEST_F(AlsaPcmTest, StartsWhenFullPlaysToTheLastFrameAndStaysBrokenOffUntilPrepare) {
    const Pcm out("hw:0");
    EXPECT_EQ(out.set(s16, 6), 0);
    const auto write = [&](unsigned long frames) { return snd_pcm_writei(out, samples, frames); };
    EXPECT_EQ(snd_pcm_start(out), -EPIPE) << "nothing to play";
    EXPECT_EQ(write(4799), 4799);
    sleep_ms(50);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_PREPARED);
    EXPECT_EQ(write(4800), 1);
    EXPECT_EQ(write(4800), -EAGAIN);
    sleep_ms(100);
    EXPECT_EQ(snd_pcm_avail(out), 4800);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_RUNNING);
    sleep_ms(1);
    EXPECT_EQ(write(1), -EPIPE);
    EXPECT_EQ(snd_pcm_prepare(out), 0);
    EXPECT_EQ(write(4800), 4800);
    EXPECT_EQ(count_events("sound", "underrun"), 1);
}

TEST_F(AlsaPcmTest, WhoBlocksWaitsForTheSampleClock) {
    const Pcm out("hw:0", playback, 0), in("hw:0", capture, 0);
    EXPECT_EQ(in.set(s16, 2), 0);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(in, 70), 0); }), 70) << "not started";
    EXPECT_EQ(duration_ms([&] { snd_pcm_readi(in, samples, 24000); }), 500);
    sleep_ms(101);
    EXPECT_EQ(snd_pcm_readi(in, samples, 1), -EPIPE);
    EXPECT_EQ(out.set(s16, 6), 0);
    EXPECT_EQ(duration_ms([&] { snd_pcm_writei(out, samples, 48000); }), 900);
    EXPECT_EQ(duration_ms([&] { snd_pcm_wait(out, -1); }), 25) << "until a period is free";
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_drain(out), 0); }), 75);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_SETUP);
}

} // namespace
