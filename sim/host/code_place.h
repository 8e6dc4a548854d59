// Where the program is: of an instruction, the file that it was loaded from, and the function.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <ucontext.h>

namespace k4sim {

#ifdef __i386__
inline constexpr int instruction_register = REG_EIP;
#else
inline constexpr int instruction_register = REG_RIP;
#endif

inline void* pointer_to(std::uintptr_t address) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a register held it
    return reinterpret_cast<void*>(address);
}

// The instruction that a signal came at, by what the handler got as its context.
std::uintptr_t interrupted_address(const void* context);

struct CodePlace {
    std::string_view file{};   // with its path; empty: nothing is loaded there
    std::uintptr_t offset = 0; // in what was loaded
};

// By a lookup that takes neither a lock nor memory, for the last words of a program.
CodePlace code_place(std::uintptr_t address);

// "function+0x1f in ./program"; of a function that is not exported, the place in its file.
std::string code_place_text(std::uintptr_t address);

} // namespace k4sim
