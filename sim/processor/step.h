// Plays single instructions of a program in its own memory: what compilers make of integer
// arithmetic, jumps and calls. Everything else stays to the processor itself.
#pragma once

#include "sim/processor/registers.h"

namespace k4sim {

// Plays the next instruction. False, and nothing is changed, when it is not among those known.
// The program's memory is read and written as it is: an access to none is a page fault here, before
// any register is changed.
bool step(Registers& registers);

// As the end of the function does that was just called, with `arguments` bytes of them.
void return_from_call(Registers& registers, std::uint32_t arguments = 0);

} // namespace k4sim
