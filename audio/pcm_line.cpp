#include "audio/pcm_line.h"

#include "audio/quiet_call.h"

#include <alsa/asoundlib.h>
#include <memory>

namespace {

struct FreeParameters {
    void operator()(snd_pcm_hw_params_t* parameters) const { snd_pcm_hw_params_free(parameters); }
};
using Parameters = std::unique_ptr<snd_pcm_hw_params_t, FreeParameters>;

} // namespace

bool KLTalsaPCMline::open(const char* device, Direction direction) {
    close();
    const QuietCall quiet;
    const auto stream =
        direction == Direction::capture ? SND_PCM_STREAM_CAPTURE : SND_PCM_STREAM_PLAYBACK;
    if (snd_pcm_open(&handle_, device, stream, SND_PCM_NONBLOCK) == 0) return true;
    handle_ = nullptr;
    return false;
}

void KLTalsaPCMline::close() {
    if (!handle_) return;
    const QuietCall quiet;
    snd_pcm_close(handle_);
    handle_ = nullptr;
}

bool KLTalsaPCMline::setRate(unsigned int rate_hz) {
    if (!handle_) return false;
    const QuietCall quiet;
    snd_pcm_hw_params_t* allocated = nullptr;
    if (snd_pcm_hw_params_malloc(&allocated) < 0) return false;
    const Parameters parameters(allocated);
    return snd_pcm_hw_params_any(handle_, parameters.get()) >= 0 &&
           snd_pcm_hw_params_set_rate_near(handle_, parameters.get(), &rate_hz, nullptr) >= 0 &&
           snd_pcm_hw_params(handle_, parameters.get()) >= 0;
}
