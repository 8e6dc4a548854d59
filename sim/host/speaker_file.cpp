#include "sim/host/speaker_file.h"

#include "sim/host/real_file.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"
#include "sim/setup.h"

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

// The model plays along, for the record, and for who hears it.
class RealSpeakerFile final : public RealFile {
public:
    using RealFile::RealFile;

    int control(unsigned long request, void* argument) override {
        const int result = RealFile::control(request, argument);
        if (result >= 0) shadow_.control(request, argument);
        return result;
    }

private:
    SpeakerFile shadow_;
};

} // namespace

std::unique_ptr<OpenFile> open_speaker() {
    if (const RealPart* real = real_part(machine().setup(), Role::speaker))
        return std::make_unique<RealSpeakerFile>(real->names.empty() ? "/dev/console"
                                                                     : real->names[0]);
    return machine().device().speaker().present() ? std::make_unique<SpeakerFile>() : nullptr;
}

} // namespace k4sim
