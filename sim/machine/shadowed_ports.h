// Ports whose accesses are carried out by other hardware, while the virtual device follows what is
// written to them: so there are pictures of a panel that nobody but its user can see. What is read
// is the hardware's answer alone; the device is not asked.
#pragma once

#include "sim/models/bus/port_space.h"

namespace k4sim {

class ShadowedPorts final : public PortSpace {
public:
    // Both stay the caller's.
    ShadowedPorts(PortSpace& hardware, PortSpace& shadow) : hardware_(hardware), shadow_(shadow) {}

    std::uint8_t in(std::uint16_t port) override { return hardware_.in(port); }
    void out(std::uint16_t port, std::uint8_t value) override {
        hardware_.out(port, value);
        shadow_.out(port, value);
    }

private:
    PortSpace& hardware_;
    PortSpace& shadow_;
};

} // namespace k4sim
