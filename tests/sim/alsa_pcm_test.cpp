#include "alsa_client.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

using namespace k4sim;

namespace {

constexpr auto playback = SND_PCM_STREAM_PLAYBACK;
constexpr auto capture = SND_PCM_STREAM_CAPTURE;
constexpr unsigned rate_hz = 48000;
constexpr snd_pcm_sframes_t buffer_frames = 4800; // of 100 ms

int set_params(snd_pcm_t* pcm, snd_pcm_format_t format, unsigned channels, unsigned rate = rate_hz,
               unsigned latency_ms = 100) {
    return snd_pcm_set_params(pcm, format, SND_PCM_ACCESS_RW_INTERLEAVED, channels, rate, 0,
                              latency_ms * 1000);
}

// Silence for six channels, or room for what is recorded.
std::int16_t* samples() {
    static std::vector<std::int16_t> memory(6 * rate_hz);
    return memory.data();
}

// How long something takes in virtual time, to the nearest ms: looks at clocks take some µs.
template <typename Action>
long duration_ms(Action action) {
    const Microseconds start = machine().now();
    action();
    return std::lround(static_cast<double>(machine().now() - start) / 1000.0);
}

void sleep_ms(unsigned duration) { usleep(duration * 1000); }

class AlsaPcmTest : public AlsaTest {
protected:
    struct Playback : Pcm {
        explicit Playback(int mode = SND_PCM_NONBLOCK) : Pcm("hw:0,0", playback, mode) {
            EXPECT_EQ(set_params(*this, SND_PCM_FORMAT_S16_LE, 6), 0);
        }
        snd_pcm_sframes_t write(snd_pcm_sframes_t frames) {
            return snd_pcm_writei(*this, samples(), static_cast<snd_pcm_uframes_t>(frames));
        }
    };
    struct Capture : Pcm {
        explicit Capture(int mode = SND_PCM_NONBLOCK) : Pcm("hw:0,0", capture, mode) {
            EXPECT_EQ(set_params(*this, SND_PCM_FORMAT_S16_LE, 2), 0);
        }
        snd_pcm_sframes_t read(snd_pcm_sframes_t frames) {
            return snd_pcm_readi(*this, samples(), static_cast<snd_pcm_uframes_t>(frames));
        }
    };
};

TEST_F(AlsaPcmTest, OpensTheDevicesOfTheBoardUnderTheStockNames) {
    static constexpr struct {
        Board board;
        const char* name;
        int result;
    } cases[] = {
        {Board::aes, "hw:0,0", 0},       {Board::aes, "hw:0,1", 0},
        {Board::aes, "hw:0", 0},         {Board::aes, "hw:K4,1", 0},
        {Board::aes, "default", 0},      {Board::aes, "plughw:0,0", 0},
        {Board::aes, "hw:0,2", -ENOENT}, {Board::aes, "hw:1,0", -ENOENT},
        {Board::plain, "hw:0,0", 0},     {Board::plain, "hw:0,1", -ENOENT},
    };
    for (const auto& row : cases) {
        use_board(row.board);
        for (const auto stream : {playback, capture})
            EXPECT_EQ(Pcm(row.name, stream).result, row.result) << row.name;
    }
}

TEST_F(AlsaPcmTest, AStreamIsForOneAtATime) {
    pollfd state{};
    {
        const Pcm first("hw:0,0");
        EXPECT_EQ(snd_pcm_poll_descriptors(first, &state, 1), 1);
        EXPECT_EQ(Pcm("hw:0,0").result, -EBUSY);
        EXPECT_EQ(Pcm("hw:0,0", playback, 0).result, -EBUSY);
        EXPECT_EQ(Pcm("hw:0,0", capture).result, 0);
    }
    EXPECT_EQ(fcntl(state.fd, F_GETFD), -1);
    EXPECT_EQ(Pcm("hw:0,0").result, 0);
    card().set_busy(true);
    EXPECT_EQ(Pcm("hw:0,0").result, -EBUSY);
}

TEST_F(AlsaPcmTest, LatencyIsTheBufferAndTheCardsLimitsHold) {
    constexpr auto s16 = SND_PCM_FORMAT_S16_LE;
    constexpr auto s32 = SND_PCM_FORMAT_S32_LE;
    static constexpr struct {
        Board board;
        snd_pcm_stream_t stream;
        snd_pcm_format_t format;
        unsigned channels, rate, latency_ms;
        int result;
        snd_pcm_uframes_t buffer, period;
    } cases[] = {
        {Board::aes, playback, s16, 6, 48000, 100, 0, 4800, 1200},
        {Board::aes, capture, s16, 2, 48000, 100, 0, 4800, 1200},
        {Board::aes, playback, SND_PCM_FORMAT_S24_LE, 6, 44100, 500, 0, 22050, 5512},
        {Board::aes, playback, SND_PCM_FORMAT_FLOAT_LE, 6, 96000, 10, 0, 960, 240},
        {Board::aes, playback, s32, 6, 48000, 1300, 0, 32768, 8192}, // all there is
        {Board::aes, playback, s16, 6, 48000, 1, 0, 128, 64},        // the least there is
        {Board::aes, playback, s16, 4, 48000, 100, -EINVAL, 0, 0},
        {Board::plain, playback, s16, 6, 48000, 100, -EINVAL, 0, 0},
        {Board::aes, capture, s16, 1, 48000, 100, -EINVAL, 0, 0},
        {Board::aes, playback, s16, 6, 12345, 100, -EINVAL, 0, 0},
    };
    for (const auto& row : cases) {
        use_board(row.board);
        const Pcm pcm("hw:0,0", row.stream);
        ASSERT_EQ(set_params(pcm, row.format, row.channels, row.rate, row.latency_ms), row.result)
            << row.channels << " channels, " << row.rate << " Hz\n"
            << complaints();
        snd_pcm_uframes_t buffer = 0;
        snd_pcm_uframes_t period = 0;
        EXPECT_EQ(snd_pcm_get_params(pcm, &buffer, &period) == 0, row.result == 0);
        EXPECT_EQ(buffer, row.buffer);
        EXPECT_EQ(period, row.period);
    }
}

TEST_F(AlsaPcmTest, BothDirectionsOfADeviceHaveOneRate) {
    Playback out;
    const Pcm in("hw:0,0", capture);
    EXPECT_EQ(set_params(in, SND_PCM_FORMAT_S16_LE, 2, 44100), -EINVAL);
    EXPECT_EQ(snd_pcm_hw_free(out), 0);
    EXPECT_EQ(set_params(in, SND_PCM_FORMAT_S16_LE, 2, 44100), 0);
}

TEST_F(AlsaPcmTest, CaptureStartsWithTheFirstReadAndAnOverrunLastsUntilPrepare) {
    Capture in;
    sleep_ms(50);
    EXPECT_LE(in.read(buffer_frames), 1); // the look at the clock may end a frame
    sleep_ms(50);
    EXPECT_EQ(in.read(buffer_frames), buffer_frames / 2);
    sleep_ms(101);
    EXPECT_EQ(in.read(1), -EPIPE);
    EXPECT_EQ(in.read(1), -EPIPE);
    EXPECT_EQ(snd_pcm_prepare(in), 0);
    EXPECT_EQ(snd_pcm_start(in), 0);
    sleep_ms(50);
    EXPECT_EQ(in.read(buffer_frames), buffer_frames / 2);
}

// A buffer exactly played and an empty one must not be taken for each other.
TEST_F(AlsaPcmTest, StartsWhenFullPlaysToTheLastFrameAndStaysBrokenOffUntilPrepare) {
    Playback out;
    EXPECT_EQ(out.write(buffer_frames - 1), buffer_frames - 1);
    sleep_ms(50);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_PREPARED);
    EXPECT_EQ(out.write(buffer_frames), 1);
    EXPECT_EQ(out.write(buffer_frames), -EAGAIN);
    sleep_ms(100);
    EXPECT_EQ(snd_pcm_avail(out), buffer_frames);
    EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_RUNNING);
    sleep_ms(1);
    EXPECT_EQ(out.write(1), -EPIPE);
    EXPECT_EQ(out.write(1), -EPIPE);
    EXPECT_EQ(snd_pcm_wait(out, 100), -EPIPE);
    EXPECT_EQ(snd_pcm_prepare(out), 0);
    EXPECT_EQ(out.write(buffer_frames), buffer_frames);
    sleep_ms(50);
    EXPECT_EQ(out.write(buffer_frames), buffer_frames / 2);
}

TEST_F(AlsaPcmTest, AWaitEndsWhenAnUnderrunHappens) {
    Playback out;
    out.write(buffer_frames);
    machine().at(machine().now() + 10'000, [] { card().pcm(0)->playback().interrupt(); });
    sleep_ms(20);
    EXPECT_EQ(snd_pcm_wait(out, 1000), -EPIPE);
}

TEST_F(AlsaPcmTest, WhoBlocksWaitsForTheSampleClock) {
    Playback out(0);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(out.write(rate_hz), rate_hz); }), 900);
    pollfd state{};
    ASSERT_EQ(snd_pcm_poll_descriptors(out, &state, 1), 1);
    state.events = POLLIN; // not its direction
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(poll(&state, 1, 10), 0); }), 10);
    // A period of 25 ms must be free.
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(out, -1), 1); }), 15);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(out, -1), 1); }), 0);

    Capture in(0);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(in.read(rate_hz / 2), rate_hz / 2); }), 500);
    EXPECT_EQ(snd_pcm_drop(in), 0);
    EXPECT_EQ(snd_pcm_prepare(in), 0);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_wait(in, 70), 0); }), 70);
}

TEST_F(AlsaPcmTest, DrainTakesAsLongAsWhatIsLeft) {
    Playback out(0);
    for (const snd_pcm_sframes_t frames : {2400L, 4800L, 48000L}) {
        out.write(frames);
        const long left_ms = std::min(frames, buffer_frames) / 48;
        EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_drain(out), 0); }), left_ms);
        EXPECT_EQ(snd_pcm_state(out), SND_PCM_STATE_SETUP);
        EXPECT_EQ(snd_pcm_prepare(out), 0);
    }
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(snd_pcm_drain(out), 0); }), 0);
    for (const Event& event : machine().events())
        EXPECT_NE(event.what, "underrun");
}

// A square wave of a quarter of full scale in each format, heard over the loopback cable.
TEST_F(AlsaPcmTest, SamplesOfEachFormatArrive) {
    const auto fill = [](auto quarter) {
        using Sample = decltype(quarter);
        std::vector<Sample> frames(6 * buffer_frames);
        for (std::size_t i = 0; i < frames.size(); ++i)
            frames[i] = i / 6 % 48 < 24 ? quarter : static_cast<Sample>(-quarter);
        return frames;
    };
    const auto loop = [](snd_pcm_format_t format, const void* sent) {
        use_board(Board::aes);
        card().plug_analog(true);
        const std::int32_t unity[] = {127, 127}, nominal[] = {24, 24}, on[] = {1, 1};
        card().put(*card().find_control("Line Out Playback Volume", 0), unity);
        card().put(*card().find_control("Line Out Playback Switch", 0), on);
        card().put(*card().find_control("Line In Capture Volume", 0), nominal);
        card().put(*card().find_control("Line In Capture Switch", 0), on);
        const Pcm out("hw:0,0");
        Capture in;
        EXPECT_EQ(set_params(out, format, 6), 0);
        EXPECT_EQ(snd_pcm_start(in), 0);
        EXPECT_EQ(snd_pcm_writei(out, sent, buffer_frames), buffer_frames);
        sleep_ms(90);
        EXPECT_GT(in.read(4000), 3900);
        double sum = 0;
        for (int i = 2000; i < 6000; ++i)
            sum += samples()[i] * samples()[i];
        return std::sqrt(sum / 4000);
    };
    const double level = loop(SND_PCM_FORMAT_S16_LE, fill(std::int16_t{1 << 13}).data());
    EXPECT_GT(level, 4000);
    EXPECT_LT(level, 16000);
    EXPECT_NEAR(loop(SND_PCM_FORMAT_S24_LE, fill(std::int32_t{1 << 21}).data()), level, 2);
    EXPECT_NEAR(loop(SND_PCM_FORMAT_S32_LE, fill(std::int32_t{1 << 29}).data()), level, 2);
    EXPECT_NEAR(loop(SND_PCM_FORMAT_FLOAT_LE, fill(0.25F).data()), level, 2);
}

} // namespace
