#include "sim/host/speaker_file.h"

#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <cerrno>
#include <linux/kd.h>

namespace k4sim {

namespace {

class SpeakerFile final : public OpenFile {
public:
    int control(unsigned long request, void* argument) override {
        const auto value = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(argument));
        switch (request) {
        case KIOCSOUND:
            machine().play_sound(value);
            return 0;
        case KDMKTONE:
            machine().play_tone(value & 0xFFFF, value >> 16);
            return 0;
        default:
            return -ENOTTY;
        }
    }
};

} // namespace

std::unique_ptr<OpenFile> open_speaker() {
    return machine().device().speaker().present() ? std::make_unique<SpeakerFile>() : nullptr;
}

} // namespace k4sim
