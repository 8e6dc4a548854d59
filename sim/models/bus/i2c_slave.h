// A chip on an I2C bus, byte by byte.
#pragma once

#include <cstdint>

namespace k4sim {

// Of the first byte, beside the address: the master reads.
inline constexpr std::uint8_t i2c_read_bit = 0x01;

class I2cSlave {
public:
    virtual ~I2cSlave() = default;

    // The slave is addressed for a write or a read. True acknowledges.
    virtual bool begin_write() = 0;
    virtual bool begin_read() = 0;

    // A byte from the master. True acknowledges.
    virtual bool write_byte(std::uint8_t byte) = 0;

    // The next byte for the master.
    virtual std::uint8_t read_byte() = 0;
};

} // namespace k4sim
