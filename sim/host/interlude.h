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

    // Plays the program up to its next port instruction of any kind: true. False when something
    // else must be left to the processor before: an instruction that is not known, code outside the
    // program's file, or so much of it that a trap is no loss.
    bool play();

    // For the handler of a fault at `code`. If playing caused it, it does not return, and the
    // processor comes to the same instruction by itself.
    static void give_up(std::uintptr_t code);

private:
    bool play_to_port();

    ucontext_t& program_;
    Registers registers_;
    bool at_port_ = false;
    sigjmp_buf after_fault_;
};

} // namespace k4sim
