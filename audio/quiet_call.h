#pragma once
// How the program calls libasound.

#include "baselib/thread/thread.h"

#include <cstdarg>

// The library's header forgets the linkage of one function.
extern "C" {
#include <alsa/error.h>
}

// For a block that calls ALSA: keeps its messages from the console, for this thread, since codes
// tell what failed; and cancellation away, since ALSA would not give back its locks.
class QuietCall {
public:
    QuietCall() : former_(snd_lib_error_set_local(sayNothing)) {}
    ~QuietCall() { snd_lib_error_set_local(former_); }
    QuietCall(const QuietCall&) = delete;
    QuietCall& operator=(const QuietCall&) = delete;

private:
    static void sayNothing(const char*, int, const char*, int, const char*, va_list) {}

    const KLTptNoCancel noCancel_;
    snd_local_error_handler_t former_;
};
