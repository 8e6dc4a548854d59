// The x86 I/O port space as a device sees it: one byte in, one byte out.
#pragma once

#include <cstdint>

namespace k4sim {

class PortSpace {
public:
    virtual ~PortSpace() = default;

    // The byte that the hardware drives when the processor reads `port`.
    // An absent port reads 0xFF.
    virtual std::uint8_t in(std::uint16_t port) = 0;

    // The processor writes `value` to `port`. An absent port swallows it.
    virtual void out(std::uint16_t port, std::uint8_t value) = 0;
};

} // namespace k4sim
