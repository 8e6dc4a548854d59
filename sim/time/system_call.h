// Calls of the system past the stand-in for calls by number.
#pragma once

#include <dlfcn.h>

namespace k4sim {

using SystemCall = long(long, ...);

// Looked for by the first call, which must come before there is a second thread: threads that
// do not have their turn yet call here.
inline SystemCall* system_call() {
    static auto* const function = reinterpret_cast<SystemCall*>(dlsym(RTLD_NEXT, "syscall"));
    return function;
}

} // namespace k4sim
