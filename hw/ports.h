#pragma once

#include <cstdint>

// Byte access to the x86 I/O ports. Nothing else in the program touches a port.
//
// Linux grants I/O privilege to the thread that asks, and to the threads that this one
// creates afterwards. An access without it is fatal to the process; so this layer notes,
// for each thread, that its request was granted, and keeps accesses of every other thread
// off the hardware: a read then gives `portAbsent`, a write is dropped.
//
// The note is not inherited, although the privilege is: each thread that uses ports makes
// the request itself. It costs one system call, and CHmainboardCPLD_K4::detect() makes it.

// What a port reads at which nothing answers.
inline constexpr std::uint8_t portAbsent = 0xFF;

// Asks for I/O privilege level 3 for the calling thread. Needs root. Returns true when
// granted.
bool portRequestPrivilege();

// Reads one byte. `portAbsent` when the calling thread has no privilege.
[[nodiscard]] std::uint8_t portIn(std::uint16_t port);

// Writes one byte. Does nothing when the calling thread has no privilege.
void portOut(std::uint16_t port, std::uint8_t value);

// Reads the port until every bit of the mask is 0. Has no time limit, and is a
// cancellation point. Returns at once on a thread without privilege.
void portWaitClear(std::uint16_t port, std::uint8_t mask);

// What the calling thread does now and then while such a wait lasts, for a thread that must not
// miss what else happens. Null, as at first: nothing.
void portWhileWaiting(void (*action)());

// The registers of a device: ports counted from its base.
class PortBlock {
public:
    explicit constexpr PortBlock(std::uint16_t firstPort) : base(firstPort) {}

    [[nodiscard]] std::uint8_t in(int offset) const { return portIn(at(offset)); }
    void out(int offset, std::uint8_t value) const { portOut(at(offset), value); }
    void waitClear(int offset, std::uint8_t mask) const { portWaitClear(at(offset), mask); }

    const std::uint16_t base;

private:
    std::uint16_t at(int offset) const { return static_cast<std::uint16_t>(base + offset); }
};
