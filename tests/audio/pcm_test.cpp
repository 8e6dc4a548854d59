// On the sound card of the virtual device. Its digital line carries samples bit by bit.
#include "audio/pcm.h"

#include "audio/kestra_alsactl.h"
#include "baselib/print/print.h"
#include "baselib/time/clock.h"
#include "sim/models/device.h"
#include "support/boards.h"
#include "support/captured_console.h"

#include <algorithm>
#include <array>
#include <complex>
#include <functional>
#include <numbers>
#include <random>

namespace {

using k4sim::machine;
using k4sim::PcmStream;
using Call = std::function<int()>;

constexpr const char* digital = "hw:0,1";
constexpr const char* analog = "hw:0,0";
constexpr long long ms_us = 1'000;
constexpr int rate_hz = 48'000;

class Pcm : public BoardTest {
protected:
    // Both directions, configured for two channels and 100 ms.
    void open_both(int format = 0) {
        ASSERT_EQ(player.open(digital), 0);
        ASSERT_EQ(recorder.open(digital), 0);
        ASSERT_EQ(player.configure(rate_hz, 2, false, 100, format), 0);
        ASSERT_EQ(recorder.configure(rate_hz, 2, false, 100, format), 0);
    }

    // With time for the receiver to lock.
    static void connect() {
        card().plug_digital(true);
        KLkestraALSActl().set(rate_hz, rate_hz, false);
        KLFdelay(2 * k4sim::AesEbu::lock_time_us);
    }

    static k4sim::SoundCard& card() { return machine().device().sound_card(); }
    static PcmStream& output() { return card().pcm(1)->playback(); }
    static PcmStream& input() { return card().pcm(1)->capture(); }

    KLTalsaPCMplay player;
    KLTalsaPCMreco recorder;
    KLTalsaBuf16 buffer{rate_hz, 2, 250};
    KLTalsaBuf32 buffer32{rate_hz, 2, 250};
    const std::array<KLTalsaPCMbase*, 2> both{&player, &recorder};
};

void expect_call(const Call& call, int result, const std::string& printed) {
    CapturedConsole console;
    const int got = call();
    EXPECT_EQ(console.out(), printed);
    EXPECT_EQ(got, result);
}

template <class Body>
long long duration_ms(Body body) {
    const k4sim::Microseconds begin = machine().now();
    body();
    return (machine().now() - begin + ms_us / 2) / ms_us;
}

TEST_F(Pcm, OpensOrTellsWhyNotAndThenNothingWorks) {
    card().set_busy(true);
    for (const auto& [name, code] :
         {std::pair{"", -9148}, {nullptr, -9148}, {"hw:0,2", -9147}, {analog, -9146}}) {
        open_both();
        for (KLTalsaPCMbase* pcm : both) {
            EXPECT_EQ(pcm->open(name), code);
            EXPECT_EQ(pcm->configure(48000, 2, false, 100, 0), -9145);
            EXPECT_EQ(pcm->bufferFrames() + pcm->rate() + pcm->channels() + pcm->getBufMsec(), 0);
            for (const int result : {pcm->blocking(true), pcm->stop(), pcm->restart()})
                EXPECT_EQ(result, -9145);
        }
        EXPECT_EQ(output().state(), PcmStream::State::closed);
    }
    for (const int result : {player.play(buffer), player.play(buffer.data(), 2), recorder.start(),
                             recorder.record(buffer), recorder.record(buffer.data(), 2)})
        EXPECT_EQ(result, -9145);
    buffer.advance(buffer.frames());
    EXPECT_EQ(player.play(buffer) + recorder.record(buffer), 0); // done
}

TEST_F(Pcm, Configures) {
    const k4sim::SampleFormat formats[] = {k4sim::SampleFormat::s16, k4sim::SampleFormat::s24,
                                           k4sim::SampleFormat::s32, k4sim::SampleFormat::float32};
    for (int format = 0; format < 4; ++format) {
        ASSERT_EQ(player.open(digital), 0);
        EXPECT_EQ(player.configure(rate_hz, 2, false, 100, format < 2 ? -1 : 4), -9143);
        EXPECT_EQ(player.configure(rate_hz, 3, false, 100, 0), -9149);
        EXPECT_EQ(player.rate() + player.channels() + player.getBufMsec(), 0);
        EXPECT_EQ(player.configure(44100, 2, false, 250, format), 0);
        EXPECT_EQ(output().configuration().format, formats[format]);
        EXPECT_EQ(player.rate(), 44100);
        EXPECT_EQ(player.channels(), 2);
        EXPECT_EQ(player.bufferFrames(), 11025);
        EXPECT_EQ(player.getBufMsec(), 250);
        // Its frames must not be smaller than configured.
        EXPECT_EQ(player.play(buffer), format == 0 ? 12000 - 11025 : -9148);
    }
}

TEST_F(Pcm, BlocksUntilStopped) {
    open_both();
    EXPECT_EQ(player.blocking(true), 0);
    EXPECT_FALSE(player.blocking());
    EXPECT_EQ(player.blocking(false), 0); // does nothing
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(player.play(buffer), 0); }), 150);
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(player.stop(), 0); }), 100);
    EXPECT_EQ(output().state(), PcmStream::State::prepared);
    buffer.setFrameLimit(0);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(duration_ms([&] { EXPECT_EQ(player.play(buffer), 12000 - 4800); }), 0);
}

template <class Buffer>
void fill_with_noise(Buffer& buffer) {
    using Sample = std::decay_t<decltype(*buffer.data())>;
    std::mt19937 random(1);
    for (int i = 0; i < buffer.samples(); ++i) // the line has 25 bits
        buffer.data()[i] = static_cast<Sample>(random() & (sizeof(Sample) == 2 ? ~0U : ~127U));
}

// The frames from the first sound on that are those of `sent`, up to its position.
template <class Buffer>
int frames_heard(const Buffer& heard, const Buffer& sent) {
    const auto* const end = heard.data() + heard.samples();
    const auto* const begin = std::find_if(heard.data(), end, [](auto x) { return x != 0; });
    const auto* const sent_end = sent.data() + 2 * sent.position();
    return static_cast<int>(std::mismatch(begin, end, sent.data(), sent_end).first - begin) / 2;
}

// Also what the device still holds when playing is configured anew: by the program, for which
// libasound gives up the former parameters first, and by the driver.
TEST_F(Pcm, SamplesArriveAsTheyArePlayed) {
    const auto loop = [&]<class Buffer>(Buffer& sent, int format, int frames,
                                        const Call& configure) {
        use_board(k4sim::Board::aes);
        open_both(format);
        connect();
        fill_with_noise(sent);
        Buffer heard(rate_hz, 2, 260);
        EXPECT_EQ(recorder.start(), 0);
        while (player.play(sent) > 0) { // for 150 ms
            EXPECT_EQ(player.play(sent), sent.remaining()) << "there is no room";
            KLFdelay(30 * ms_us);
            EXPECT_GT(recorder.record(heard), 0);
        }
        KLFdelay(50 * ms_us);
        EXPECT_EQ(configure(), 0);
        while (recorder.record(heard) > 0)
            KLFdelay(10 * ms_us);
        EXPECT_NEAR(frames_heard(heard, sent), frames, 10);
    };
    loop(buffer, 0, 12000, [] { return 0; });
    loop(buffer32, 2, 9600, [&] { return player.configure(rate_hz, 2, false, 200, 2); });
    buffer.setFrameLimit(0);
    loop(buffer, 0, 9600, [] { return output().configure(output().configuration()) ? 0 : 1; });
}

TEST_F(Pcm, TellsABreakAndGoesOnAfterARestart) {
    open_both();
    EXPECT_EQ(player.play(buffer), 12000 - 4800);
    EXPECT_EQ(recorder.start(), 0);
    output().interrupt();
    input().interrupt();
    EXPECT_EQ(player.play(buffer), -9144);
    EXPECT_EQ(recorder.record(buffer), -9144);
    EXPECT_EQ(buffer.position(), 4800);
    EXPECT_EQ(player.play(buffer.data(), 10), -9149);
    const Call record = [&] { return recorder.record(buffer.data(), 10); };
    expect_call(record, -9149, "record() -32: Broken pipe\r\n");
    for (KLTalsaPCMbase* pcm : both)
        expect_call([&] { return pcm->restart(); }, 0, "");
    for (const int taken : {4000, 800, 0})
        EXPECT_EQ(player.play(buffer.data(), 4000), taken);
    EXPECT_EQ(recorder.start(), 0);
    expect_call(record, 0, "");
    KLFdelay(ms_us);
    EXPECT_EQ(record(), 10);
    EXPECT_EQ(player.play(nullptr, 1) + recorder.record(nullptr, 1), 2 * -9148);
    EXPECT_EQ(player.play(buffer.data(), -1) + recorder.record(buffer.data(), 0), 2 * -9148);
}

TEST_F(Pcm, TellsWhatFails) {
    for (KLTalsaPCMbase* pcm : both)
        ASSERT_EQ(pcm->open(digital), 0); // not configured
    expect_call([&] { return recorder.start(); }, -9149, "start() -5: Input/output error\r\n");
    EXPECT_EQ(player.play(buffer), -9149);
    EXPECT_EQ(recorder.record(buffer), -9149);
    open_both();
    use_board(k4sim::Board::plain); // which has no digital line
    expect_call([&] { return player.stop(); }, -9149, "snd_pcm_drain() -19: No such device\r\n");
    const std::string unprepared = "snd_pcm_prepare() -19: No such device\r\n";
    expect_call([&] { return recorder.stop(); }, -9149, unprepared);
    pout.width(30); // another thread is about to print
    expect_call([&] { return player.restart(); }, -19, unprepared);
    pout.width(0);
}

// A tone, or what the analog inputs hum, has a peak of -20 dB. The first 20 ms, until the receiver
// has locked, need not be heard; the loop is one buffer of the device late.
TEST_F(Pcm, DemonstrationsPlayOrTellWhatFails) {
    const struct {
        Call run;
        const char* text;
        double sound_s, frequency_hz;
    } cases[] = {
        {[&] { return player.demoSinePlayout(digital, 1); }, "24000 in buffer\r\n", 0.99, 1000},
        {[&] { return player.demoSinePlayout2(digital, 1); }, "", 0.99, 1000},
        {[&] { return recorder.demoLoop1(digital, analog, 1); }, "", 0.5, 50},
    };
    for (const auto& [run, text, sound_s, frequency_hz] : cases) {
        use_board(k4sim::Board::aes);
        card().set(k4sim::CodecFaults{.hum_db = -20});
        connect();
        KLTalsaPCMreco listener;
        ASSERT_EQ(listener.open(digital), 0);
        ASSERT_EQ(listener.configure(rate_hz, 2, false, 1300, 0), 0);
        EXPECT_EQ(listener.start(), 0);
        expect_call(run, 0, text);
        EXPECT_EQ(output().state(), PcmStream::State::closed);
        KLTalsaBuf16 heard(rate_hz, 2, 1300);
        listener.record(heard);
        std::complex<double> sum; // of the tone
        for (int i = 0; i < heard.position(); ++i)
            sum += std::polar<double>(heard.data()[2 * i + 1],
                                      2 * std::numbers::pi * frequency_hz / rate_hz * i);
        EXPECT_NEAR(std::abs(sum) * 2 / rate_hz / 32767 / 0.1, sound_s, 0.015);
    }
    machine().at(machine().now() + 100 * ms_us, [] { output().interrupt(); });
    expect_call([&] { return player.demoSinePlayout2(digital, 2); }, 0, "");
    const auto open_error = "Recording PCM open error -9147\r\n";
    expect_call([&] { return recorder.demoLoop1(digital, "none", 1); }, -9147, open_error);
}

} // namespace
