#include "sim/host/port_trap.h"

#include "sim/host/code_place.h"
#include "sim/host/death_watch.h"
#include "sim/host/interlude.h"
#include "sim/host/real.h"
#include "sim/host/unplayed.h"
#include "sim/machine/machine.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <csignal>
#include <cstdint>

namespace k4sim {

namespace {

#ifdef __i386__
constexpr int data_register = REG_EDX;
constexpr int accumulator = REG_EAX;
#else
constexpr int data_register = REG_RDX;
constexpr int accumulator = REG_RAX;
#endif

constexpr int general_protection_fault = 13;

// The byte-wide port instructions: in al, dx / out dx, al / in al, ib / out ib, al.
struct PortInstruction {
    std::uint8_t opcode;
    bool writes;
    bool port_follows; // else the port is in dx
};
constexpr PortInstruction port_instructions[] = {
    {0xEC, false, false},
    {0xEE, true, false},
    {0xE4, false, true},
    {0xE6, true, true},
};

struct sigaction former_action;

const PortInstruction* instruction_at(const std::uint8_t* code) {
    for (const PortInstruction& instruction : port_instructions)
        if (instruction.opcode == *code) return &instruction;
    return nullptr;
}

// The instruction that trapped.
const std::uint8_t* code_at(const greg_t* registers) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the register holds an address
    return reinterpret_cast<const std::uint8_t*>(registers[instruction_register]);
}

// Only a port instruction's own fault: at a page fault the code may be unreadable.
bool may_be_port_access(const greg_t* registers) {
    return registers[REG_TRAPNO] == general_protection_fault && Scheduler::current() != nullptr;
}

void carry_out(const PortInstruction& instruction, greg_t* registers) {
    const std::uint8_t* const code = code_at(registers);
    const auto port = instruction.port_follows
                          ? std::uint16_t{code[1]}
                          : static_cast<std::uint16_t>(registers[data_register]);
    greg_t& al = registers[accumulator];
    if (instruction.writes)
        machine().port_out(port, static_cast<std::uint8_t>(al));
    else
        al = (al & ~greg_t{0xFF}) | machine().port_in(port);
    registers[instruction_register] += instruction.port_follows ? 2 : 1;
}

// And what follows up to the next port instruction, and that, too, as long as they are known: a
// trap takes as long as a hundred instructions that are played.
void carry_out_from(const PortInstruction* instruction, ucontext_t& context) {
    greg_t* const registers = context.uc_mcontext.gregs;
    Interlude interlude(context);
    do
        carry_out(*instruction, registers);
    while (interlude.play() && (instruction = instruction_at(code_at(registers))) != nullptr);
}

// Not an ordinary handler: it runs only in place of a port instruction, which the
// program never executes while it is inside malloc or stdio. So the models behind it
// may use memory, and the scheduler may hand over to another thread from here.
void on_fault(int signal, siginfo_t* info, void* context) {
    auto& program = *static_cast<ucontext_t*>(context);
    greg_t* registers = program.uc_mcontext.gregs;
    const KeepErrno keep_errno;
    const bool sent = info->si_code <= 0; // by a process, not by an instruction
    if (!sent) Interlude::give_up(interrupted_address(context));
    if (!sent && may_be_port_access(registers)) {
        const bool privileged = Scheduler::current()->io_privilege;
        const PortInstruction* instruction = instruction_at(code_at(registers));
        if (privileged && instruction != nullptr) return carry_out_from(instruction, program);
        if (const char* what = unplayed_port_access(code_at(registers), privileged))
            end_unplayed(what, code_at(registers));
    }
    libc_sigaction(SIGSEGV, &former_action, nullptr);
    report_death(*info, context);
    // An instruction faults again by itself; what was sent must be sent again.
    if (sent) raise(signal);
}

} // namespace

void install_port_trap() {
    struct sigaction action {};
    action.sa_sigaction = on_fault;
    // While an access takes its time, a handler of the program may make another.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    libc_sigaction(SIGSEGV, &action, &former_action);
}

} // namespace k4sim
