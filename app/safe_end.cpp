#include "app/safe_end.h"

#include "app/audio_inputs.h"
#include "audio/beep.h"
#include "baselib/fatal.h"
#include "baselib/thread/thread.h"

#include <cstdlib>
#include <exception>

namespace {

std::terminate_handler formerTerminate = nullptr;

// The former handler tells of the exception and aborts.
[[noreturn]] void endByException() {
    makeHardwareSafe();
    formerTerminate();
    std::abort();
}

} // namespace

void makeHardwareSafe() {
    const KLTptNoCancel noCancel;
    AudioInputs::forbidPower();
    AudioInputs inputs;
    inputs.reopen();
    inputs.makeSafe();
    KLTlinuxBeep beeper;
    if (beeper.opendev(nullptr) == 0) beeper.stop();
}

void guardEveryEnd() {
    static_cast<void>(std::atexit(makeHardwareSafe));
    formerTerminate = std::set_terminate(endByException);
    KLFbeforeFatal(makeHardwareSafe);
}
