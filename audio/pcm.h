#pragma once
// Playback and recording through ALSA.

#include "audio/alsabuf.h"
#include "baselib/print/out.h"

#include <cstdint>

typedef struct _snd_pcm snd_pcm_t;

// Results, besides 0 for success.
inline constexpr int KLTpcmBadFormat = -9143;   // not one of the formats of configure()
inline constexpr int KLTpcmXrun = -9144;        // underrun or overrun; restart() recovers
inline constexpr int KLTpcmNotOpen = -9145;     // no stream
inline constexpr int KLTpcmBusy = -9146;        // the device is open elsewhere
inline constexpr int KLTpcmOpenFailed = -9147;  // for any other reason
inline constexpr int KLTpcmBadArgument = -9148; // null, empty, negative, or no such buffer
inline constexpr int KLTpcmFailed = -9149;      // any other failure of ALSA

// A stream of one direction, opened non-blocking so that one thread can serve a playback and a
// recording in turn. -EAGAIN of ALSA is never an error: nothing could be transferred now.
// Used by one thread.
//
// stop, restart, start and record(void*, int) print what failed on standard output, such as
// "snd_pcm_drain() -77: File descriptor in bad state\r\n".
class KLTalsaPCMbase : private KLTnoncopyable {
public:
    KLTalsaPCMbase() = default;
    // Closes the stream.
    virtual ~KLTalsaPCMbase() { close(); }

    // Closes a stream left open and opens the ALSA device of that name, such as "hw:0,0".
    // KLTpcmBadArgument (null or empty name), KLTpcmBusy, KLTpcmOpenFailed.
    [[nodiscard]] int open(const char* name);
    void close();

    // Whether transfers wait until all is transferred. Asking for what blocking() says does
    // nothing. blocking() stays what open() made it, false: the way back to the non-blocking
    // mode is stop(), or opening anew. KLTpcmNotOpen, KLTpcmFailed.
    [[nodiscard]] int blocking(bool on);
    bool blocking() const { return blocking_; }

    // rate in Hz; latencyMs: how much the device buffers. format: 0 signed 16 bits, 1 signed
    // 24 bits in 32, 2 signed 32 bits, 3 float; all little-endian. Samples are interleaved.
    // KLTpcmNotOpen, KLTpcmBadFormat, KLTpcmFailed.
    [[nodiscard]] int configure(int rate, int channels, bool softResample, int latencyMs,
                                int format);

    // Waits until everything is played (recording: drops what was recorded) and readies the
    // stream for the next transfer. KLTpcmNotOpen, KLTpcmFailed.
    int stop();
    // Readies the stream after KLTpcmXrun. KLTpcmNotOpen, or ALSA's own negative code.
    int restart();

    // As configured; 0 before.
    int bufferFrames() const { return bufferFrames_; }
    int rate() const { return rate_; }
    int channels() const { return channels_; }
    int getBufMsec() const;

protected:
    // Opens for the direction; handle: an snd_pcm_t**. 0 or ALSA's negative code.
    virtual int openDev(const char* name, int mode, void** handle) = 0;

    snd_pcm_t* handle() const { return handle_; }
    int frameBytes() const { return frameBytes_; }

private:
    void forget();

    snd_pcm_t* handle_ = nullptr;
    bool blocking_ = false;
    int32_t bufferFrames_ = 0;
    int32_t rate_ = 0; // Hz
    int32_t channels_ = 0;
    int32_t frameBytes_ = 0;
};

class KLTalsaPCMplay : public KLTalsaPCMbase {
public:
    // Plays up to `frames` frames. The number taken, 0 when there is no room now;
    // KLTpcmNotOpen, KLTpcmBadArgument (null, negative), KLTpcmFailed (underrun included).
    int play(const void* data, int frames);
    // Plays what remains of a buffer, as far as there is room, and advances it. The number of
    // frames still to play; 0, and nothing else is looked at, when none remained. KLTpcmXrun,
    // KLTpcmNotOpen, KLTpcmBadArgument (smaller frames than configured), KLTpcmFailed.
    int play(KLTalsaBuf16& buffer);
    int play(KLTalsaBuf32& buffer);

    // Demonstrations: open the device (48000 Hz, 2 channels, 16 bits, 500 ms latency,
    // blocking), play a tone of 1 kHz at -20 dB for so many seconds and close. They print what
    // fails and return its code, else 0.
    int demoSinePlayout(const char* device, int seconds);  // ends with the first underrun
    int demoSinePlayout2(const char* device, int seconds); // plays on after an underrun

protected:
    int openDev(const char* name, int mode, void** handle) override;
};

class KLTalsaPCMreco : public KLTalsaPCMbase {
public:
    // Starts recording. KLTpcmNotOpen, KLTpcmFailed.
    int start();
    // As the forms of play. frames must be above 0.
    int record(void* data, int frames);
    int record(KLTalsaBuf16& buffer);
    int record(KLTalsaBuf32& buffer);

    // Demonstration: plays for so many seconds what it records, one buffer of the device late.
    // As the demonstrations of KLTalsaPCMplay.
    int demoLoop1(const char* playDevice, const char* recordDevice, int seconds);

protected:
    int openDev(const char* name, int mode, void** handle) override;
};
