// What the two lines do while the I2C engine moves a byte: bits of a microsecond each. Start and
// stop condition find room in the bit behind or before them.
#pragma once

#include "sim/models/bus/i2c_bus.h"
#include "sim/models/surroundings.h"

#include <cstdint>

namespace k4sim {

class EngineWave {
public:
    EngineWave(const I2cBus& bus, Surroundings& surroundings)
        : bus_(bus), surroundings_(surroundings) {}

    // Eight bits from `begin` on.
    void byte(Microseconds begin, std::uint8_t byte, bool after_start);
    // The bit of the acknowledge, which ends at `end`.
    void answer(Microseconds end, bool acknowledged, bool then_stop);

private:
    void bit(Microseconds begin, bool level, Nanoseconds set_at, Nanoseconds high_to);
    void scl(Microseconds begin, Nanoseconds after, bool level);
    void sda(Microseconds begin, Nanoseconds after, bool level);

    const I2cBus& bus_;
    Surroundings& surroundings_;
};

} // namespace k4sim
