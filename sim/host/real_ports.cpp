#include "sim/host/real_ports.h"

#include "sim/machine/machine.h"
#include "sim/machine/shadowed_ports.h"

#include <sys/io.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr int full_privilege = 3;

// Past the stand-in.
bool set_level(int level) { return syscall(SYS_iopl, level) == 0; }

// The right to the ports, of the calling thread.
class Privilege {
public:
    Privilege() : granted_(set_level(full_privilege)) {}
    ~Privilege() {
        if (granted_) set_level(0);
    }
    Privilege(const Privilege&) = delete;
    Privilege& operator=(const Privilege&) = delete;

    bool granted() const { return granted_; }

private:
    const bool granted_;
};

// An access that is refused, as after a change of the process's rights, finds nothing there.
class ProcessorPorts final : public PortSpace {
public:
    std::uint8_t in(std::uint16_t port) override {
        const Privilege privilege;
        return privilege.granted() ? inb(port) : absent;
    }
    void out(std::uint16_t port, std::uint8_t value) override {
        const Privilege privilege;
        if (privilege.granted()) outb(value, port);
    }

private:
    static constexpr std::uint8_t absent = 0xFF;
};

} // namespace

void use_real_ports() {
    static ProcessorPorts hardware;
    static ShadowedPorts ports(hardware, machine().device_ports());
    machine().attach_ports(&ports);
}

bool real_ports_granted() { return Privilege().granted(); }

} // namespace k4sim
