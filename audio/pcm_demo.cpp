#include "audio/pcm.h"
#include "baselib/print/print.h"

namespace {

constexpr int rate_hz = 48000;
constexpr int stereo = 2;
constexpr int latency_ms = 500;
constexpr int format16 = 0;
constexpr int allChannels = -1;
constexpr int second_ms = 1000;
constexpr int loopStep_ms = 100;
constexpr double tone_hz = 1000.0;
constexpr double level_dB = -20.0;

// Prints an error code; whether it was one.
bool failed(const char* subject, const char* step, int code) {
    if (code >= 0) return false;
    pout << subject << step << " error " << code << "\r\n";
    return true;
}

int prepare(KLTalsaPCMbase& pcm, const char* subject, const char* device) {
    int code = pcm.open(device);
    if (failed(subject, " open", code)) return code;
    code = pcm.configure(rate_hz, stereo, false, latency_ms, format16);
    if (failed(subject, " configure", code)) return code;
    code = pcm.blocking(true);
    return failed(subject, " blocking mode", code) ? code : 0;
}

int restart(KLTalsaPCMplay& pcm) { return pcm.restart() < 0 ? KLTpcmFailed : 0; }

int restart(KLTalsaPCMreco& pcm) { return pcm.restart() < 0 ? KLTpcmFailed : pcm.start(); }

int transfer(KLTalsaPCMplay& pcm, KLTalsaBuf16& buffer) { return pcm.play(buffer); }

int transfer(KLTalsaPCMreco& pcm, KLTalsaBuf16& buffer) { return pcm.record(buffer); }

// Plays or records a whole buffer, going on after each underrun and overrun.
template <class Pcm>
int transferAll(Pcm& pcm, KLTalsaBuf16& buffer) {
    int code = 0;
    do {
        code = transfer(pcm, buffer);
        if (code == KLTpcmXrun) code = restart(pcm);
    } while (code >= 0 && buffer.remaining() > 0);
    return code;
}

int loopOnce(KLTalsaPCMplay& player, KLTalsaPCMreco& recorder, KLTalsaBuf16& buffer) {
    buffer.setFrameLimit(0);
    if (const int code = transferAll(recorder, buffer); code < 0) return code;
    buffer.setFrameLimit(0);
    const int code = transferAll(player, buffer);
    return failed("Playback", "", code) ? code : 0;
}

} // namespace

int KLTalsaPCMplay::demoSinePlayout(const char* device, int seconds) {
    int code = prepare(*this, "PCM", device);
    if (code == 0) pout << bufferFrames() << " in buffer\r\n";
    KLTalsaBuf16 buffer(rate_hz, stereo, second_ms);
    double phase = 0;
    for (int second = 0; second < seconds && code >= 0; ++second) {
        buffer.fillSine(tone_hz, level_dB, phase, allChannels);
        code = play(buffer.data(), buffer.frames());
        failed("Playback", "", code);
    }
    if (code >= 0) code = stop();
    close();
    return code;
}

int KLTalsaPCMplay::demoSinePlayout2(const char* device, int seconds) {
    int code = prepare(*this, "PCM", device);
    KLTalsaBuf16 buffer(rate_hz, stereo, second_ms);
    double phase = 0;
    for (int second = 0; second < seconds && code == 0; ++second) {
        buffer.fillSine(tone_hz, level_dB, phase, allChannels);
        code = transferAll(*this, buffer);
        failed("Playback", "", code);
    }
    if (code == 0) code = stop();
    close();
    return code;
}

int KLTalsaPCMreco::demoLoop1(const char* playDevice, const char* recordDevice, int seconds) {
    KLTalsaPCMplay player;
    int code = prepare(player, "Playback PCM", playDevice);
    if (code == 0) code = prepare(*this, "Recording PCM", recordDevice);
    if (code == 0) code = start();
    KLTalsaBuf16 buffer(rate_hz, stereo, loopStep_ms);
    const int64_t loops = int64_t{seconds} * second_ms / loopStep_ms;
    for (int64_t loop = 0; loop < loops && code == 0; ++loop)
        code = loopOnce(player, *this, buffer);
    close();
    return code;
}
