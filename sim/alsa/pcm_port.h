// One direction of a PCM device as its handle in libasound sees it: the stream of the
// model, and a descriptor that tells in virtual time when it can be written or read.
#pragma once

#include "sim/models/sound/pcm.h"
#include "sim/models/surroundings.h"

namespace k4sim {

class PcmPort {
public:
    PcmPort(unsigned device, PcmStream::Direction direction)
        : device_(device), direction_(direction) {}
    ~PcmPort() { close(); }
    PcmPort(const PcmPort&) = delete;
    PcmPort& operator=(const PcmPort&) = delete;

    PcmStream::Direction direction() const { return direction_; }

    // 0, -ENOENT when there is no such stream, -EBUSY when it is in use, or that there is
    // no descriptor, as open says it.
    [[nodiscard]] int open();
    // Nothing when not open.
    void close();

    // The stream of the machine's present device; null when that has none.
    PcmStream* stream() const;

    int descriptor() const { return descriptor_; }

    // So many frames make the descriptor ready.
    void set_wanted(unsigned frames) { wanted_frames_ = frames; }

    // Whether a wait is over: the frames can be moved, or never will be. Not while what
    // was written is drained.
    bool ready() const;
    // When it becomes so by itself; `never` before the stream is started.
    Microseconds ready_at() const;

private:
    const unsigned device_;
    const PcmStream::Direction direction_;
    int descriptor_ = -1;
    unsigned wanted_frames_ = 1;
};

} // namespace k4sim
