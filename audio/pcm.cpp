#include "audio/pcm.h"

#include "audio/quiet_call.h"
#include "baselib/print/out_handle.h"
#include "baselib/print/print.h"

#include <alsa/asoundlib.h>
#include <array>
#include <cerrno>

namespace {

constexpr unsigned usecPerMsec = 1000;
constexpr int bitsPerByte = 8;
constexpr std::array formats = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S24_LE, SND_PCM_FORMAT_S32_LE,
                                SND_PCM_FORMAT_FLOAT_LE};

// Prints a negative result of ALSA; whether it was one. Not by pout, whose format belongs to
// the main thread.
bool failed(const char* call, int result) {
    if (result >= 0) return false;
    KLTprint(devout) << call << " " << result << ": " << snd_strerror(result) << "\r\n";
    return true;
}

snd_pcm_t** pcmHandle(void** handle) { return reinterpret_cast<snd_pcm_t**>(handle); }

int bytesOfFrame(snd_pcm_format_t format, int channels) {
    return channels * snd_pcm_format_physical_width(format) / bitsPerByte;
}

// Moves what remains of a buffer, as far as ALSA takes it. ALSA would go past the end of a
// buffer with smaller frames than configured.
template <class Buffer, class Move>
int transfer(snd_pcm_t* handle, int configuredBytes, Buffer& buffer, Move move) {
    if (buffer.remaining() < 1) return 0;
    if (!handle) return KLTpcmNotOpen;
    if (buffer.frameBytes() < configuredBytes) return KLTpcmBadArgument;
    const snd_pcm_sframes_t result =
        move(handle, buffer.next(), static_cast<snd_pcm_uframes_t>(buffer.remaining()));
    if (result >= 0) buffer.advance(static_cast<int>(result));
    if (result >= 0 || result == -EAGAIN) return buffer.remaining();
    return result == -EPIPE ? KLTpcmXrun : KLTpcmFailed;
}

} // namespace

int KLTalsaPCMbase::open(const char* name) {
    close();
    if (!name || !*name) return KLTpcmBadArgument;
    const QuietCall quiet;
    void* opened = nullptr;
    const int error = openDev(name, SND_PCM_NONBLOCK, &opened);
    if (error < 0) return error == -EBUSY ? KLTpcmBusy : KLTpcmOpenFailed;
    handle_ = static_cast<snd_pcm_t*>(opened);
    return 0;
}

void KLTalsaPCMbase::close() {
    forget();
    if (!handle_) return;
    const QuietCall quiet;
    snd_pcm_close(handle_);
    handle_ = nullptr;
}

int KLTalsaPCMbase::blocking(bool on) {
    if (on == blocking_) return 0;
    if (!handle_) return KLTpcmNotOpen;
    return snd_pcm_nonblock(handle_, !on) < 0 ? KLTpcmFailed : 0;
}

int KLTalsaPCMbase::configure(int rate, int channels, bool softResample, int latencyMs,
                              int format) {
    if (!handle_) return KLTpcmNotOpen;
    if (format < 0 || format >= static_cast<int>(formats.size())) return KLTpcmBadFormat;
    const QuietCall quiet;
    if (snd_pcm_set_params(handle_, formats[format], SND_PCM_ACCESS_RW_INTERLEAVED,
                           static_cast<unsigned>(channels), static_cast<unsigned>(rate),
                           softResample, static_cast<unsigned>(latencyMs) * usecPerMsec) < 0)
        return KLTpcmFailed;
    snd_pcm_uframes_t bufferFrames = 0;
    snd_pcm_uframes_t periodFrames = 0;
    if (snd_pcm_get_params(handle_, &bufferFrames, &periodFrames) < 0) return KLTpcmFailed;
    bufferFrames_ = static_cast<int32_t>(bufferFrames);
    rate_ = rate;
    channels_ = channels;
    frameBytes_ = bytesOfFrame(formats[format], channels);
    return 0;
}

int KLTalsaPCMbase::stop() {
    if (!handle_) return KLTpcmNotOpen;
    if (!blocking_ && failed("snd_pcm_nonblock(0)", snd_pcm_nonblock(handle_, 0)))
        return KLTpcmFailed;
    if (failed("snd_pcm_drain()", snd_pcm_drain(handle_))) return KLTpcmFailed;
    if (failed("snd_pcm_prepare()", snd_pcm_prepare(handle_))) return KLTpcmFailed;
    if (!blocking_ && failed("snd_pcm_nonblock(1)", snd_pcm_nonblock(handle_, 1)))
        return KLTpcmFailed;
    return 0;
}

int KLTalsaPCMbase::restart() {
    if (!handle_) return KLTpcmNotOpen;
    const QuietCall quiet;
    const int result = snd_pcm_prepare(handle_);
    return failed("snd_pcm_prepare()", result) ? result : 0;
}

int KLTalsaPCMbase::getBufMsec() const {
    return rate_ == 0 ? 0 : static_cast<int>(int64_t{bufferFrames_} * msecPerSecond / rate_);
}

void KLTalsaPCMbase::forget() {
    bufferFrames_ = rate_ = channels_ = frameBytes_ = 0;
    blocking_ = false;
}

int KLTalsaPCMplay::play(const void* data, int frames) {
    if (!handle()) return KLTpcmNotOpen;
    if (!data || frames < 0) return KLTpcmBadArgument;
    const auto result = snd_pcm_writei(handle(), data, static_cast<snd_pcm_uframes_t>(frames));
    if (result >= 0) return static_cast<int>(result);
    return result == -EAGAIN ? 0 : KLTpcmFailed;
}

int KLTalsaPCMplay::play(KLTalsaBuf16& buffer) {
    return transfer(handle(), frameBytes(), buffer, snd_pcm_writei);
}

int KLTalsaPCMplay::play(KLTalsaBuf32& buffer) {
    return transfer(handle(), frameBytes(), buffer, snd_pcm_writei);
}

int KLTalsaPCMplay::openDev(const char* name, int mode, void** handle) {
    return snd_pcm_open(pcmHandle(handle), name, SND_PCM_STREAM_PLAYBACK, mode);
}

int KLTalsaPCMreco::start() {
    if (!handle()) return KLTpcmNotOpen;
    return failed("start()", snd_pcm_start(handle())) ? KLTpcmFailed : 0;
}

int KLTalsaPCMreco::record(void* data, int frames) {
    if (!handle()) return KLTpcmNotOpen;
    if (!data || frames < 1) return KLTpcmBadArgument;
    const auto result = snd_pcm_readi(handle(), data, static_cast<snd_pcm_uframes_t>(frames));
    if (result == -EAGAIN) return 0;
    return failed("record()", static_cast<int>(result)) ? KLTpcmFailed : static_cast<int>(result);
}

int KLTalsaPCMreco::record(KLTalsaBuf16& buffer) {
    return transfer(handle(), frameBytes(), buffer, snd_pcm_readi);
}

int KLTalsaPCMreco::record(KLTalsaBuf32& buffer) {
    return transfer(handle(), frameBytes(), buffer, snd_pcm_readi);
}

int KLTalsaPCMreco::openDev(const char* name, int mode, void** handle) {
    return snd_pcm_open(pcmHandle(handle), name, SND_PCM_STREAM_CAPTURE, mode);
}
