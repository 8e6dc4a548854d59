#include "sim/host/interlude.h"

#ifdef __i386__

#include "sim/host/code_place.h"
#include "sim/processor/step.h"
#include "sim/time/scheduler.h"

#include <array>
#include <atomic>
#include <csignal>
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

namespace k4sim {

namespace {

// As many take about as long as a trap (measured: 2.5 us; 28 ns each in code that works on memory).
constexpr int steps_max = 100;

// By GeneralRegister.
constexpr std::array<int, 8> register_places = {REG_EAX, REG_ECX, REG_EDX, REG_EBX,
                                                REG_ESP, REG_EBP, REG_ESI, REG_EDI};

// A handler of the program that comes between may play an interlude of its own.
constinit thread_local Interlude* playing = nullptr;

struct Code {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;

    bool holds(std::uintptr_t address) const { return begin <= address && address < end; }
};

int find_code(dl_phdr_info* program, std::size_t, void* found) {
    for (int i = 0; i < program->dlpi_phnum; ++i) {
        const auto& segment = program->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
        const std::uintptr_t begin = program->dlpi_addr + segment.p_vaddr;
        *static_cast<Code*>(found) = {begin, begin + segment.p_memsz};
    }
    return 1; // the program is the first of what is loaded
}

const Code& program_code() {
    static const Code code = [] {
        Code found;
        dl_iterate_phdr(find_code, &found);
        return found;
    }();
    return code;
}

// A handler's frame on the stack that is played on would be overwritten.
bool has_stack_of_its_own(const ucontext_t& program) {
    const stack_t& stack = program.uc_stack;
    if ((stack.ss_flags & SS_DISABLE) != 0) return false;
    const auto top = static_cast<std::uintptr_t>(program.uc_mcontext.gregs[REG_ESP]);
    const auto begin = reinterpret_cast<std::uintptr_t>(stack.ss_sp);
    return top < begin || top >= begin + stack.ss_size;
}

std::uint32_t own_gs_base() { // its first word is its own address
    std::uint32_t base = 0;
    asm("movl %%gs:0, %0" : "=r"(base));
    return base;
}

Registers registers_of(const greg_t* saved) {
    Registers registers;
    for (std::size_t i = 0; i < register_places.size(); ++i)
        registers.general[i] = static_cast<std::uint32_t>(saved[register_places[i]]);
    registers.instruction = static_cast<std::uint32_t>(saved[REG_EIP]);
    registers.flags = static_cast<std::uint32_t>(saved[REG_EFL]);
    registers.gs_base = own_gs_base();
    return registers;
}

void store(const Registers& registers, greg_t* saved) {
    for (std::size_t i = 0; i < register_places.size(); ++i)
        saved[register_places[i]] = static_cast<greg_t>(registers.general[i]);
    saved[REG_EIP] = static_cast<greg_t>(registers.instruction);
    saved[REG_EFL] = static_cast<greg_t>(registers.flags);
}

// What a program calls in its loops: the stand-in does nothing where nobody has cancelled.
bool is_idle_call(const Registers& registers) {
    static const auto test_of_cancel = reinterpret_cast<std::uintptr_t>(&pthread_testcancel);
    return registers.instruction == test_of_cancel && !Scheduler::current()->cancelled;
}

} // namespace

bool Interlude::play_to_unknown() {
    const Code& code = program_code();
    for (int left = steps_max; left > 0; --left) {
        if (is_idle_call(registers_)) return_from_call(registers_);
        if (!code.holds(registers_.instruction)) return false;
        if (!step(registers_)) return true;
    }
    return false;
}

bool Interlude::play() {
    if (!has_stack_of_its_own(program_)) return false;
    greg_t* const saved = program_.uc_mcontext.gregs;
    registers_ = registers_of(saved);
    at_unknown_ = false;
    Interlude* const former = playing;
    if (sigsetjmp(after_fault_, 0) == 0) {
        playing = this;
        std::atomic_signal_fence(std::memory_order_seq_cst);
        at_unknown_ = play_to_unknown();
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    playing = former;
    store(registers_, saved);
    return at_unknown_;
}

void Interlude::give_up(std::uintptr_t code) {
    dl_find_object here{};
    const auto start = reinterpret_cast<std::uintptr_t>(&give_up);
    if (playing == nullptr || _dl_find_object(pointer_to(start), &here) != 0) return;
    const Code own{reinterpret_cast<std::uintptr_t>(here.dlfo_map_start),
                   reinterpret_cast<std::uintptr_t>(here.dlfo_map_end)};
    if (own.holds(code)) siglongjmp(playing->after_fault_, 1);
}

} // namespace k4sim

#else // programs of 64 bits take a trap each time

namespace k4sim {

bool Interlude::play() { return false; }

void Interlude::give_up(std::uintptr_t) {}

} // namespace k4sim

#endif
