// On the sound card of the virtual device. Its digital line carries samples bit by bit.
#include "audio/pcm.h"

#include "audio/kestra_alsactl.h"
#include "baselib/print/print.h"
#include "baselib/time/clock.h"
#include "sim/models/device.h"
#include "support/boards.h"
#include "support/captured_console.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <random>

namespace {

using k4sim::machine;
using k4sim::PcmStream;
using Call = std::function<int()>;

constexpr const char* digital = "hw:0,1";
constexpr const char* analog = "hw:0,0";
constexpr long long ms_us = 1'000;
constexpr int rate_hz = 48'000;

// No card refuses to block or not to: libasound does, where this tells which.
int refused_mode = -1;

std::string complaint; // of libasound, the last one

void note(const char*, int, const char*, int, const char* format, ...) { complaint = format; }

class Pcm : public BoardTest {
protected:
    Pcm() { snd_lib_error_set_handler(note); }
    ~Pcm() override {
        snd_lib_error_set_handler(nullptr);
        refused_mode = -1;
    }

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
    KLTalsaBuf16 heard{rate_hz, 2, 1300};
    const std::array<KLTalsaPCMbase*, 2> both{&player, &recorder};
};

void expect_call(const Call& call, int result, const std::string& printed) {
    SCOPED_TRACE(printed);
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

TEST_F(Pcm, OpensOrTellsWhyNotAndCloses) {
    card().set_busy(true);
    const struct {
        const char* name;
        int code;
    } cases[] = {
        {nullptr, -9148}, {"", -9148}, {"none", -9147}, {"hw:0,2", -9147}, {analog, -9146}};
    for (const auto& [name, code] : cases) {
        for (KLTalsaPCMbase* pcm : both) {
            ASSERT_EQ(pcm->open(digital), 0);
            ASSERT_EQ(pcm->configure(rate_hz, 2, false, 100, 0), 0);
            EXPECT_EQ(pcm->open(name), code);
            EXPECT_EQ(pcm->rate(), 0);
        }
        EXPECT_EQ(output().state(), PcmStream::State::closed);
        EXPECT_EQ(input().state(), PcmStream::State::closed);
    }
}

TEST_F(Pcm, NothingWorksUnlessOpen) {
    for (KLTalsaPCMbase* pcm : both) {
        EXPECT_EQ(pcm->configure(48000, 2, false, 100, 0), -9145);
        EXPECT_EQ(pcm->bufferFrames() + pcm->rate() + pcm->channels() + pcm->getBufMsec(), 0);
        EXPECT_EQ(pcm->blocking(true), -9145);
        EXPECT_EQ(pcm->blocking(false), 0); // as it is
        expect_call([&] { return pcm->stop(); }, -9145, "");
        expect_call([&] { return pcm->restart(); }, -9145, "");
    }
    EXPECT_EQ(player.play(buffer), -9145);
    EXPECT_EQ(player.play(buffer.data(), 2), -9145);
    EXPECT_EQ(recorder.record(buffer), -9145);
    expect_call([&] { return recorder.record(buffer.data(), 2); }, -9145, "");
    expect_call([&] { return recorder.start(); }, -9145, "");
    buffer.advance(buffer.frames());
    EXPECT_EQ(player.play(buffer) + recorder.record(buffer), 0); // done
}

TEST_F(Pcm, Configures) {
    const k4sim::SampleFormat formats[] = {k4sim::SampleFormat::s16, k4sim::SampleFormat::s24,
                                           k4sim::SampleFormat::s32, k4sim::SampleFormat::float32};
    for (int format = 0; format < 4; ++format) {
        ASSERT_EQ(player.open(digital), 0);
        EXPECT_EQ(player.configure(rate_hz, 2, false, 100, -1), -9143);
        EXPECT_EQ(player.configure(rate_hz, 2, false, 100, 4), -9143);
        EXPECT_EQ(player.configure(rate_hz, 3, false, 100, 0), -9149);
        EXPECT_EQ(player.rate() + player.channels() + player.getBufMsec(), 0);
        EXPECT_EQ(player.configure(44100, 2, false, 250, format), 0);
        EXPECT_EQ(output().configuration().format, formats[format]);
        EXPECT_EQ(output().configuration().rate_hz, 44100U);
        EXPECT_EQ(player.rate(), 44100);
        EXPECT_EQ(player.channels(), 2);
        EXPECT_EQ(player.bufferFrames(), 11025);
        EXPECT_EQ(player.getBufMsec(), 250);
        // Its frames must not be smaller than configured.
        EXPECT_EQ(player.play(buffer), format == 0 ? 12000 - 11025 : -9148);
        buffer32.setFrameLimit(0);
        EXPECT_EQ(player.play(buffer32), 12000 - (format == 0 ? 0 : 11025));
    }
    // The virtual card can't be resampled, but with leave it is tried.
    ASSERT_EQ(recorder.open("plughw:0,1"), 0);
    EXPECT_EQ(recorder.configure(24000, 2, false, 100, 0), -9149);
    EXPECT_EQ(complaint.substr(0, 12), "Rate doesn't");
    EXPECT_EQ(recorder.configure(24000, 2, true, 100, 0), -9149);
    EXPECT_EQ(complaint.substr(0, 12), "Unable to se");
}

TEST_F(Pcm, BlocksUntilStopped) {
    open_both();
    EXPECT_EQ(duration_ms([&] { EXPECT_EQ(player.play(buffer), 12000 - 4800); }), 0);
    for (const bool on : {true, true, false}) { // of which the last does nothing
        EXPECT_EQ(player.blocking(on), 0);
        EXPECT_FALSE(player.blocking());
        buffer.setFrameLimit(2400);
        EXPECT_EQ(duration_ms([&] { EXPECT_EQ(player.play(buffer), 0); }), 50);
    }
    EXPECT_EQ(duration_ms([&] { expect_call([&] { return player.stop(); }, 0, ""); }), 100);
    EXPECT_EQ(output().state(), PcmStream::State::prepared);
    buffer.setFrameLimit(0);
    EXPECT_EQ(player.play(buffer), 12000 - 4800);
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

TEST_F(Pcm, SamplesArriveAsTheyArePlayed) {
    const auto loop = [&]<class Buffer>(Buffer& sent, int format) {
        use_board(k4sim::Board::aes);
        open_both(format);
        connect();
        fill_with_noise(sent);
        Buffer back(rate_hz, 2, 250);
        EXPECT_EQ(recorder.start(), 0);
        while (player.play(sent) > 0) {
            EXPECT_EQ(player.play(sent), sent.remaining()) << "there is no room";
            KLFdelay(30 * ms_us);
            EXPECT_GT(recorder.record(back), 0);
        }
        while (recorder.record(back) > 0)
            KLFdelay(10 * ms_us);
        EXPECT_GT(frames_heard(back, sent), 11'990);
    };
    loop(buffer, 0);
    loop(buffer32, 2);
}

// By the program, for which libasound gives up the former parameters first, and by the driver.
TEST_F(Pcm, WhatWasPlayedIsHeardThoughPlayingIsConfiguredAnew) {
    for (const bool by_driver : {false, true}) {
        use_board(k4sim::Board::aes);
        open_both();
        connect();
        fill_with_noise(buffer);
        buffer.setFrameLimit(0);
        EXPECT_EQ(recorder.start(), 0);
        EXPECT_EQ(player.play(buffer), 12000 - 4800);
        KLFdelay(50 * ms_us);
        EXPECT_TRUE(by_driver ? output().configure(output().configuration())
                              : player.configure(rate_hz, 2, false, 200, 0) == 0);
        heard.setFrameLimit(0);
        recorder.record(heard);
        EXPECT_NEAR(frames_heard(heard, buffer), 2400, 2);
    }
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
    for (const auto& [data, frames] : {std::pair<int16_t*, int>{nullptr, 1}, {buffer.data(), -1}}) {
        EXPECT_EQ(player.play(data, frames), -9148);
        EXPECT_EQ(recorder.record(data, frames), -9148);
    }
    EXPECT_EQ(recorder.record(buffer.data(), 0), -9148);
}

TEST_F(Pcm, TellsWhatFails) {
    open_both();
    for (const int mode : {0, 1}) {
        refused_mode = mode;
        EXPECT_EQ(player.blocking(true), mode == 0 ? -9149 : 0);
        expect_call([&] { return player.stop(); }, -9149,
                    "snd_pcm_nonblock(" + std::to_string(mode) + ") -5: Input/output error\r\n");
    }
    refused_mode = -1;
    KLTalsaPCMplay idle_player; // not configured
    KLTalsaPCMreco idle_recorder;
    ASSERT_EQ(idle_player.open(analog), 0);
    ASSERT_EQ(idle_recorder.open(analog), 0);
    expect_call([&] { return idle_recorder.start(); }, -9149, "start() -5: Input/output error\r\n");
    EXPECT_EQ(idle_player.play(buffer), -9149);
    EXPECT_EQ(idle_recorder.record(buffer), -9149);
    EXPECT_EQ(idle_player.play(buffer.data(), 1), -9149);
    use_board(k4sim::Board::plain); // which has no digital line
    expect_call([&] { return player.stop(); }, -9149, "snd_pcm_drain() -19: No such device\r\n");
    const std::string unprepared = "snd_pcm_prepare() -19: No such device\r\n";
    expect_call([&] { return recorder.stop(); }, -9149, unprepared);
    const Call restart_while_printing = [&] {
        pout.width(3); // another thread is about to print
        const int result = player.restart();
        pout << 1;
        return result;
    };
    expect_call(restart_while_printing, -19, unprepared + "  1");
}

// A tone, or what the analog inputs hum, has a peak of -20 dB. The first 20 ms, until the receiver
// has locked, need not be heard; the loop is one buffer of the device late.
TEST_F(Pcm, DemonstrationsPlayOrTellWhatFails) {
    const auto tone = [&](const char* device, int seconds = 1) {
        return Call([=, this] { return player.demoSinePlayout(device, seconds); });
    };
    const auto tone2 = [&](const char* device, int seconds = 1) {
        return Call([=, this] { return player.demoSinePlayout2(device, seconds); });
    };
    const auto loop = [&](const char* to, const char* from) {
        return Call([=, this] { return recorder.demoLoop1(to, from, 1); });
    };
    const auto late = [] { output().interrupt(); };
    const auto deaf = [] { card().pcm(0)->capture().interrupt(); };
    const auto gone = [] { use_board(k4sim::Board::plain); };
    const struct {
        Call run;
        const char* text; // with the code of a failure
        double sound_s = -1, frequency_hz = 0;
        int refused = -1;
        void (*happens)() = nullptr; // after 100 ms
    } cases[] = {
        {tone(digital), "24000 in buffer\r\n", 0.99, 1000},
        {tone2(digital), "", 0.99, 1000},
        {loop(digital, analog), "", 0.5, 50},
        {loop(digital, analog), "", -1, 0, -1, deaf},
        {loop(digital, analog), "", -1, 0, -1, late},
        {tone2(digital, 2), "", -1, 0, -1, late},
        {tone(digital, 2), "24000 in buffer\r\nPlayback error -9149\r\n", -1, 0, -1, late},
        {tone2(digital, 2), "snd_pcm_prepare() -19: No such device\r\nPlayback error -9149\r\n", -1,
         0, -1, gone},
        {tone(digital), "PCM blocking mode error -9149\r\n", -1, 0, 0},
        {tone("nowhere"), "PCM open error -9147\r\n"},
        {tone2(analog), "PCM configure error -9149\r\n"},
        {loop("nowhere", analog), "Playback PCM open error -9147\r\n"},
        {loop(digital, "nowhere"), "Recording PCM open error -9147\r\n"},
    };
    for (const auto& c : cases) {
        use_board(k4sim::Board::aes);
        card().set(k4sim::CodecFaults{.hum_db = -20});
        connect();
        refused_mode = c.refused;
        if (c.happens) machine().at(machine().now() + 100 * ms_us, c.happens);
        KLTalsaPCMreco listener;
        ASSERT_EQ(listener.open(digital), 0);
        ASSERT_EQ(listener.configure(rate_hz, 2, false, 1300, 0), 0);
        EXPECT_EQ(listener.start(), 0);
        const char* const code = std::strstr(c.text, "-9");
        expect_call(c.run, code ? std::atoi(code) : 0, c.text);
        if (card().pcm_count() < 2) continue;
        EXPECT_EQ(output().state(), PcmStream::State::closed);
        EXPECT_EQ(card().pcm(0)->capture().state(), PcmStream::State::closed);
        if (c.sound_s < 0) continue;
        heard.setFrameLimit(0);
        listener.record(heard);
        int rises = 0;
        double energy = 0;
        for (const int16_t* x = heard.data() + 2; x < heard.next(); x += 2) {
            rises += x[-2] <= 0 && x[0] > 0;
            energy += x[1] * x[1] / (0.1 * 32767 * 0.1 * 32767);
        }
        EXPECT_NEAR(2 * energy / rate_hz, c.sound_s, 0.015);
        EXPECT_NEAR(rises, c.sound_s * c.frequency_hz, 1 + 0.015 * c.frequency_hz);
    }
}

} // namespace

extern "C" int snd_pcm_nonblock(snd_pcm_t* pcm, int nonblock) {
    static auto* const real =
        reinterpret_cast<decltype(&snd_pcm_nonblock)>(dlsym(RTLD_NEXT, "snd_pcm_nonblock"));
    return nonblock == refused_mode ? -EIO : real(pcm, nonblock);
}
