// The streams of the sound card: opening, limits, and time.
#include "alsa_client.h"

#include <cmath>
#include <poll.h>

using namespace k4sim;

namespace {

constexpr auto playback = SND_PCM_STREAM_PLAYBACK;
constexpr auto capture = SND_PCM_STREAM_CAPTURE;
constexpr auto s16 = SND_PCM_FORMAT_S16_LE;
constexpr snd_pcm_sframes_t buffer_frames = 4800; // of 100 ms

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
    const struct {
        Board board;
        const char* name;
        int result;
    } cases[] = {
        {Board::aes, "hw:0,0", 0},       {Board::aes, "hw:0,1", 0},
        {Board::aes, "hw:0", 0},         {Board::aes, "hw:K4,1", 0},
        {Board::aes, "default", 0},      {Board::aes, "plughw:0,0", 0},
        {Board::aes, "hw:0,0,0", 0},     {Board::aes, "hw:0,0,1", -EBUSY},
        {Board::aes, "hw:0,2", -ENOENT}, {Board::aes, "hw:1,0", -ENOENT},
        {Board::plain, "hw:0,0", 0},     {Board::plain, "hw:0,1", -ENOENT},
    };
    for (const auto& [board, name, result] : cases) {
        use_board(board);
        for (const auto stream : {playback, capture})
            EXPECT_EQ(Pcm(name, stream).result, result) << name;
    }
    use_board(Board::aes);
    const Pcm first("hw:0");
    EXPECT_EQ(Pcm("hw:0").result, -EBUSY);
    EXPECT_EQ(Pcm("hw:0", capture).result, 0);
}

TEST_F(AlsaPcmTest, LatencyIsTheBufferAndTheCardsLimitsHold) {
    constexpr auto s32 = SND_PCM_FORMAT_S32_LE;
    const struct {
        Board board;
        const char* name;
        snd_pcm_stream_t stream;
        snd_pcm_format_t format;
        unsigned channels, rate, latency_ms;
        snd_pcm_uframes_t buffer, period; // 0: refused
    } cases[] = {
        {Board::plain, "hw:0", playback, SND_PCM_FORMAT_S24_LE, 4, 44100, 500, 22050, 5512},
        {Board::aes, "hw:0", playback, SND_PCM_FORMAT_FLOAT_LE, 6, 96000, 10, 960, 240},
        {Board::aes, "hw:0", playback, s32, 6, 48000, 1300, 32768, 8192}, // all there is
        {Board::aes, "hw:0", playback, s16, 6, 48000, 1, 128, 64},        // the least there is
        {Board::aes, "hw:0", capture, s16, 2, 8000, 100, 800, 200},
        {Board::aes, "hw:0", capture, s16, 2, 192000, 100, 19200, 4800},
        {Board::aes, "hw:0,1", capture, s16, 2, 32000, 100, 3200, 800},
        {Board::aes, "hw:0,1", playback, s16, 2, 192000, 100, 0, 0},
        {Board::aes, "hw:0", playback, s16, 4, 48000, 100, 0, 0},
        {Board::plain, "hw:0", playback, s16, 6, 48000, 100, 0, 0},
        {Board::aes, "hw:0", capture, s16, 1, 48000, 100, 0, 0},
        {Board::aes, "hw:0", playback, s16, 6, 12345, 100, 0, 0},
    };
    for (const auto& row : cases) {
        use_board(row.board);
        const Pcm pcm(row.name, row.stream);
        snd_pcm_uframes_t buffer = 0, period = 0;
        EXPECT_EQ(pcm.set(row.format, row.channels, row.rate, row.latency_ms),
                  row.buffer > 0 ? 0 : -EINVAL)
            << row.channels << " channels, " << row.rate << " Hz";
        snd_pcm_get_params(pcm, &buffer, &period);
        EXPECT_EQ(buffer, row.buffer);
        EXPECT_EQ(period, row.period);
    }
    use_board(Board::aes);
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
    EXPECT_EQ(snd_pcm_avail(out), buffer_frames);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_RUNNING);
    sleep_ms(1);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(write(1), -EPIPE);
    EXPECT_EQ(snd_pcm_wait(out, 100), -EPIPE);
    EXPECT_EQ(snd_pcm_prepare(out), 0);
    EXPECT_EQ(write(4800), 4800);
    sleep_ms(50);
    EXPECT_EQ(write(4800), 2400);
    EXPECT_EQ(count_events("sound", "underrun"), 1);
}

TEST_F(AlsaPcmTest, WhoBlocksWaitsForTheSampleClock) {
    const Pcm out("hw:0", playback, 0), in("hw:0", capture, 0);
    EXPECT_EQ(in.set(s16, 2), 0);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(in, 70), 0); }), 70) << "not started";
    EXPECT_EQ(duration_ms([&] { snd_pcm_readi(in, samples, 24000); }), 500);
    sleep_ms(100);
    EXPECT_EQ(snd_pcm_avail(in), buffer_frames);
    sleep_ms(1);
    EXPECT_EQ(snd_pcm_readi(in, samples, 1), -EPIPE);

    EXPECT_EQ(out.set(s16, 6), 0);
    EXPECT_EQ(duration_ms([&] { snd_pcm_writei(out, samples, 48000); }), 900);
    pollfd state{};
    ASSERT_EQ(snd_pcm_poll_descriptors(out, &state, 1), 1);
    state.events = POLLIN; // not its direction
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(poll(&state, 1, 10), 0); }), 10);
    for (const int until_a_period_is_free_ms : {15, 0})
        EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(out, -1), 1); }),
                  until_a_period_is_free_ms);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_drain(out), 0); }), 75);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_SETUP);
    EXPECT_EQ(snd_pcm_prepare(out), 0);
    EXPECT_EQ(snd_pcm_writei(out, samples, 2400), 2400);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_drain(out), 0); }), 50) << "starts it";
    EXPECT_EQ(count_events("sound", "underrun"), 0);
}

TEST_F(AlsaPcmTest, InterruptionsComeEverySoManySecondsAndEndAWait) {
    const Pcm in("hw:0", capture), out("hw:0");
    EXPECT_EQ(in.set(s16, 2, 8000, 8000), 0);
    device().set_fault("capture-overrun", "2");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(snd_pcm_start(in), 0);
        EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(in, -1), -EPIPE); }), 2000);
        EXPECT_EQ(snd_pcm_prepare(in), 0);
    }
    EXPECT_EQ(out.set(s16, 6, 8000, 5000), 0);
    device().set_fault("playback-underrun", "3");
    EXPECT_EQ(snd_pcm_writei(out, samples, 40'000), 40'000);
    sleep_ms(2999);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_RUNNING);
    sleep_ms(1);
    EXPECT_EQ(snd_pcm_avail(out), -EPIPE);
}

} // namespace
