#include "sim/alsa/pcm_port.h"

#include "sim/host/descriptors.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace k4sim {

namespace {

using State = PcmStream::State;
using Direction = PcmStream::Direction;

// Data go by the plug-in's transfer; the file is for waiting only.
class PcmFile final : public OpenFile {
public:
    explicit PcmFile(const PcmPort& port) : port_(port) {}
    bool readable() const override { return port_.direction() == Direction::capture && ready(); }
    bool writable() const override { return port_.direction() == Direction::playback && ready(); }
    Microseconds ready_at() const override { return port_.ready_at(); }

private:
    bool ready() const { return port_.ready(); }

    const PcmPort& port_;
};

// As the kernel would call it.
std::string file_name(unsigned device, Direction direction) {
    return "/dev/snd/pcmC0D" + std::to_string(device) +
           (direction == Direction::playback ? "p" : "c");
}

} // namespace

int PcmPort::open() {
    using OpenResult = PcmStream::OpenResult;
    if (!machine().claim()) return -EBUSY;
    const std::string name = file_name(device_, direction_);
    PcmStream* const opened = stream();
    const OpenResult result = opened != nullptr ? opened->open() : OpenResult::absent;
    machine().event(
        "program", "open",
        {{"device", std::string_view(name)}, {"present", result != OpenResult::absent}});
    if (result != OpenResult::opened) return result == OpenResult::busy ? -EBUSY : -ENOENT;
    descriptor_ = descriptors().add(name, O_RDWR | O_CLOEXEC, std::make_unique<PcmFile>(*this));
    if (descriptor_ >= 0) return 0;
    opened->close();
    return -errno;
}

void PcmPort::close() {
    if (descriptor_ < 0) return;
    ::close(descriptor_);
    descriptor_ = -1;
    if (PcmStream* const opened = stream()) opened->close();
}

PcmStream* PcmPort::stream() const {
    PcmDevice* const device = machine().device().sound_card().pcm(device_);
    return device != nullptr ? &device->stream(direction_) : nullptr;
}

bool PcmPort::ready() const {
    PcmStream* const stream = this->stream();
    if (stream == nullptr) return true;
    switch (stream->state()) {
    case State::prepared:
    case State::running:
        return stream->available() >= wanted_frames_;
    case State::draining:
        return false;
    case State::closed:
    case State::open:
    case State::xrun:
        break;
    }
    return true;
}

Microseconds PcmPort::ready_at() const {
    PcmStream* const stream = this->stream();
    const State state = stream != nullptr ? stream->state() : State::closed;
    if (state == State::draining) return stream->drained_at();
    if (state != State::running) return never;
    const std::int64_t buffer = stream->configuration().buffer_frames;
    const std::int64_t wanted = std::min<std::int64_t>(wanted_frames_, buffer + 1);
    const std::int64_t begin = stream->application_position();
    return stream->due(direction_ == Direction::playback ? begin - buffer + wanted
                                                         : begin + wanted);
}

} // namespace k4sim
