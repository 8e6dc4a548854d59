#pragma once
// An audio interface that is kept running at a rate, without a sample moved.

#include "baselib/print/out.h"

typedef struct _snd_pcm snd_pcm_t;

// One direction of an ALSA device, opened non-blocking. Used by one thread.
class KLTalsaPCMline : private KLTnoncopyable {
public:
    enum class Direction { playback, capture };

    KLTalsaPCMline() = default;
    // Closes the line.
    ~KLTalsaPCMline() { close(); }

    // Closes a line left open and opens the device. Whether that went well.
    [[nodiscard]] bool open(const char* device, Direction direction);
    void close();

    // Sets the rate nearest to rate_hz, and leaves all else to ALSA. Whether the device took
    // it.
    bool setRate(unsigned int rate_hz);

private:
    snd_pcm_t* handle_ = nullptr;
};
