// A stack for the handling of signals, for a thread that has used up its own.
#pragma once

#include <csignal>

namespace k4sim {

// The calling thread's, as long as this lives. Without memory for it, it stays as it was.
class SignalStack {
public:
    SignalStack();
    ~SignalStack();
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    void* memory_;
    stack_t former_{};
};

} // namespace k4sim
