// What the program does between two port instructions, played here instead of by the processor, so
// that a run of accesses takes one trap. It is the program's own code with its own memory: only the
// way there differs, so nothing that the device sees does.
#pragma once

#include "sim/processor/registers.h"

#include <csetjmp>
#include <cstdint>
#include <ucontext.h>

namespace k4sim {

// For the time that a port instruction is carried out in the handler of its trap.
class Interlude {
public:
    explicit Interlude(ucontext_t& program) : program_(program) {}

    // Plays the program up to an instruction that is none of the ordinary ones: true, and it may be
    // the next port instruction. False when the processor must go on before: in code outside the
    // program's file, after so much of it that a trap is no loss, or at a fault.
    bool play();

    // For the handler of a fault at `code`. If playing caused it, it does not return, and the
    // processor comes to the same instruction by itself.
    static void give_up(std::uintptr_t code);

private:
    bool play_to_unknown();

    ucontext_t& program_;
    Registers registers_;
    bool at_unknown_ = false;
    sigjmp_buf after_fault_;
};

} // namespace k4sim
