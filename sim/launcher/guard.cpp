#include "sim/launcher/guard.h"

#include "sim/launcher/device_rules.h"
#include "sim/launcher/options.h"
#include "sim/launcher/real_parts.h"
#include "sim/setup_choices.h"

#include <cerrno>
#include <iterator>
#include <seccomp.h>
#include <unistd.h>

namespace k4sim {

namespace {

// Whoever is on an x86-64 machine can make the calls of each of them.
constexpr std::uint32_t architectures[] = {SCMP_ARCH_X86, SCMP_ARCH_X86_64, SCMP_ARCH_X32};
constexpr int port_rights[] = {SCMP_SYS(iopl), SCMP_SYS(ioperm)};

bool fill(scmp_filter_ctx filter) {
    for (const std::uint32_t architecture : architectures)
        if (const int error = seccomp_arch_add(filter, architecture);
            error != 0 && error != -EEXIST)
            return false;
    for (const int call : port_rights)
        if (seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0) != 0) return false;
    return true;
}

} // namespace

Guard::Guard(const Setup& setup)
    : all_real_(setup.real.size() == std::size(roles)), filter_(seccomp_init(SCMP_ACT_ALLOW)) {
    const bool real_ports = real_part(setup, Role::ports) != nullptr;
    if (filter_ == nullptr || (!real_ports && !fill(filter_))) {
        seccomp_release(filter_);
        throw UsageError("the system has no means to deny a program the ports");
    }
    if (!all_real_) rules_ = make_device_rules(real_files(setup));
}

Guard::~Guard() {
    seccomp_release(filter_);
    if (rules_ >= 0) close(rules_);
}

bool Guard::enter() const {
    if (rules_ >= 0 && !keep_to_rules(rules_)) return false;
    const int error = seccomp_load(filter_);
    errno = -error;
    return error == 0;
}

} // namespace k4sim
