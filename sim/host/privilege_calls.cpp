// Stand-ins for the requests of I/O privilege. As on Linux it belongs to the calling
// thread and to the threads that it creates later.
#include "sim/host/real.h"
#include "sim/host/real_ports.h"
#include "sim/host/result.h"
#include "sim/host/threads.h"
#include "sim/host/unplayed.h"
#include "sim/machine/machine.h"
#include "sim/setup.h"

#include <cerrno>

namespace k4sim {

namespace {

constexpr unsigned highest_level = 3;

bool grants_ports() {
    if (real_part(machine().setup(), Role::ports) != nullptr) return real_ports_granted();
    return !machine().privilege_refused();
}

int set_privilege(unsigned level) {
    if (level > highest_level) return libc_result(-EINVAL);
    if (level == highest_level && !machine().claim()) return libc_result(-EBUSY);
    Thread& thread = *Scheduler::current();
    const bool granted = level != highest_level || grants_ports();
    machine().event("program", "iopl",
                    {{"thread", std::int64_t{thread.id}},
                     {"level", std::int64_t{level}},
                     {"granted", granted}});
    if (!granted) return libc_result(-EPERM);
    // Levels below 3 leave the ports to the system.
    thread.io_privilege = level == highest_level;
    return 0;
}

} // namespace

extern "C" {

int stand_in_iopl(int level) asm("iopl");
int stand_in_iopl(int level) {
    if (belongs_to_program()) return set_privilege(static_cast<unsigned>(level));
    return real_function<decltype(stand_in_iopl)>("iopl")(level);
}

// There is nothing to give up.
int stand_in_ioperm(unsigned long first, unsigned long count, int on) asm("ioperm");
int stand_in_ioperm(unsigned long first, unsigned long count, int on) {
    if (!belongs_to_program())
        return real_function<decltype(stand_in_ioperm)>("ioperm")(first, count, on);
    if (on != 0) end_unplayed("a request for single ports (ioperm)", __builtin_return_address(0));
    return 0;
}

} // extern "C"

} // namespace k4sim
