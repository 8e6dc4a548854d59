// Signals that come about in virtual time: from timers, from threads of the program, from the
// plan of a run. The thread that is to handle one does so when it has its turn, so that its
// handler is no exception to the rule that one thread runs at a time.
//
// Limit: what comes from outside of the process is handled at once, by whatever thread the system
// gives it to, and ends no wait in virtual time.
#pragma once

#include "sim/time/scheduler.h"

#include <csignal>

namespace k4sim {

// A signal as a process of ours sends it; `code` is its si_code.
siginfo_t made_signal(int number, int code);

// The first thread that does not block the signal, by which the process handles it; null when
// all do.
Thread* acceptor_of(int number);

// Whether the thread of that number of the system does. From a signal handler as well.
bool blocks(int system_id, int number);

// To the process: when all of its threads block the signal, it stays pending with the system, for
// who waits for one. False when it is merged with an equal one that is not handled yet.
bool signal_process(const siginfo_t& signal);

// The same to one thread.
bool signal_thread(Thread& thread, const siginfo_t& signal);

// A signal may have become pending: wakes who waits for one.
void tell_of_pending_signal();

// What a thread that waits for a signal waits on (Scheduler::wait).
const void* signal_arrival();

// Handles them from now on.
void start_signals();

// In the child of a fork: those that its only thread has not handled were the parent's.
void forget_signals();

} // namespace k4sim
