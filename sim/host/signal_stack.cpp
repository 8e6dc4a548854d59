#include "sim/host/signal_stack.h"

#include <cstddef>
#include <sys/mman.h>

namespace k4sim {

namespace {

// Port instructions are carried out on it, and last words put together.
constexpr std::size_t stack_size = std::size_t{256} * 1024;

} // namespace

SignalStack::SignalStack()
    : memory_(mmap(nullptr, stack_size, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)) {
    if (memory_ == MAP_FAILED) return;
    const stack_t stack{memory_, 0, stack_size};
    sigaltstack(&stack, &former_);
}

SignalStack::~SignalStack() {
    if (memory_ == MAP_FAILED) return;
    sigaltstack(&former_, nullptr);
    munmap(memory_, stack_size);
}

} // namespace k4sim
