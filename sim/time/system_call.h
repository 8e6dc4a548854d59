// Calls of the system past the stand-in for calls by number.
#pragma once

#include <dlfcn.h>

namespace k4sim {

// As syscall.
template <typename... Arguments>
long system_call(long number, Arguments... arguments) {
    using Function = long(long, ...);
    static auto* const function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "syscall"));
    return function(number, arguments...);
}

} // namespace k4sim
