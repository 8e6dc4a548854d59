// The registers of an i386 that its ordinary instructions work on.
#pragma once

#include <array>
#include <cstdint>

namespace k4sim {

// By the numbers that instructions give them.
enum GeneralRegister { eax, ecx, edx, ebx, esp, ebp, esi, edi };

struct Registers {
    std::array<std::uint32_t, 8> general{}; // by GeneralRegister
    std::uint32_t instruction = 0;          // the address of the next one
    std::uint32_t flags = 0;
    std::uint32_t gs_base = 0; // where the thread's own data are
};

// Bits of the flags.
inline constexpr std::uint32_t carry_flag = 0x1;
inline constexpr std::uint32_t parity_flag = 0x4;
inline constexpr std::uint32_t adjust_flag = 0x10;
inline constexpr std::uint32_t zero_flag = 0x40;
inline constexpr std::uint32_t sign_flag = 0x80;
inline constexpr std::uint32_t overflow_flag = 0x800;

} // namespace k4sim
