#include "app/audio_loop.h"

#include "baselib/print/nstream.h"
#include "baselib/thread/thread.h"
#include "baselib/time/clock.h"

namespace {

constexpr const char* analogDevice = "hw:0,0";
constexpr int signed16bit = 0; // format of KLTalsaPCMbase::configure
constexpr bool noResampling = false;
constexpr int allChannels = 0xffff;

} // namespace

bool AudioStreams::open() {
    const KLTptNoCancel noCancel; // ALSA holds locks of its own
    return play.open(analogDevice) == 0 && record.open(analogDevice) == 0;
}

bool AudioStreams::configure(int playChannels, int latency_ms) {
    const KLTptNoCancel noCancel;
    return play.configure(rate_hz, playChannels, noResampling, latency_ms, signed16bit) == 0 &&
           record.configure(rate_hz, audioInputs, noResampling, latency_ms, signed16bit) == 0;
}

AudioLoop::AudioLoop(AudioStreams& streams, int playChannels, const Manner& manner,
                     KLTprint& console)
    : streams_(streams), manner_(manner), console_(console),
      tone_(AudioStreams::rate_hz, playChannels, manner.play_ms),
      recording_(AudioStreams::rate_hz, audioInputs, manner.record_ms) {}

void AudioLoop::fill(double frequency_hz, double level_db, double& phase) {
    tone_.fillSine(frequency_hz, level_db, phase, allChannels);
}

// A playback that fails lastingly must neither keep the processor busy nor the stop request
// unseen.
bool AudioLoop::run(const K4test& unit) {
    for (;;) {
        const int left = transfer();
        if (left == 0) return true;
        KLFdelay(manner_.pause_us);
        if (unit.stopRequested()) return false;
        if (left < 0) return true;
    }
}

AudioLevels AudioLoop::takeLevels() {
    AudioLevels levels;
    recording_.info(levels.data(), recording_.position());
    recording_.setFrameLimit(0);
    return levels;
}

// The frames still to play, or the code of a failure.
int AudioLoop::transfer() {
    const KLTptNoCancel noCancel;
    const int left = play();
    if (recording_.remaining() > 0) record();
    return left;
}

int AudioLoop::play() {
    const int left = streams_.play.play(tone_);
    if (left != KLTpcmXrun) return left;
    console_ << manner_.playUnderrun << KLNstream::cr;
    streams_.play.restart();
    return streams_.play.play(tone_);
}

void AudioLoop::record() {
    const int result = streams_.record.record(recording_);
    if (result != KLTpcmXrun || !manner_.recordOverrun) return;
    console_ << manner_.recordOverrun << KLNstream::cr;
    streams_.record.restart();
}
