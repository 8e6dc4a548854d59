// end_probe WAY: switches phantom power, boost and a tone on, then ends in that way.
#include "app/audio_inputs.h"
#include "app/safe_end.h"
#include "audio/beep.h"
#include "baselib/fatal.h"
#include "baselib/thread/thread.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

const char* way = "";

struct Ending : KLTpthreadBase {
    void threadFuncOwn() override {
        if (std::strcmp(way, "exit") == 0) exit(3);
        if (std::strcmp(way, "exception") == 0) throw std::runtime_error("planted");
        if (std::strcmp(way, "fatal") == 0) KLFfatal("planted", __LINE__, "probe", "");
        if (std::strcmp(way, "misuse") == 0) fatalError("planted");
    }
};

} // namespace

int main(int, char** argv) {
    way = argv[1];
    KLFptcreatemain("main");
    if (std::strcmp(way, "unguarded") != 0) guardEveryEnd();
    AudioInputs inputs;
    if (!inputs.detect() || !inputs.openMixer()) return 1;
    inputs.setPhantom(true, AudioInputs::both);
    inputs.setBoost(true, AudioInputs::both);
    static KLTlinuxBeep beeper;
    beeper.opendev(nullptr);
    beeper.sound(500);
    Ending ending;
    ending.run();
    ending.waitend();
    return 0;
}
