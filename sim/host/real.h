// The functions behind the stand-ins.
#pragma once

#include <csignal>
#include <dlfcn.h>

namespace k4sim {

// The function that a stand-in hides: a sanitizer's, when there is one, else libc's.
// Keep the result in a static: the search takes its time.
template <typename Function>
Function* real_function(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// libc's own function, past any sanitizer.
template <typename Function>
Function* libc_function(const char* name) {
    static void* const libc = dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD);
    return reinterpret_cast<Function*>(dlsym(libc, name));
}

// libc's own sigaction: a sanitizer's would wrap the handler. For a handler to use, too, once it
// was called outside of one.
inline int libc_sigaction(int signal, const struct sigaction* action, struct sigaction* former) {
    static auto* const function =
        libc_function<int(int, const struct sigaction*, struct sigaction*)>("sigaction");
    return function(signal, action, former);
}

} // namespace k4sim
