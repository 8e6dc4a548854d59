// Virtual time, and the scheduler that owns every thread of the program.
//
// Exactly one thread runs at a time. It gives the processor up when it waits, and at a
// cost of time (`spend`) when its slice is over. When no thread can run, the clock jumps
// to the next wake-up or timer. So a run takes no waiting, and the same program with the
// same input does the same to the last event.
//
// Threads hand over by raw futex calls that a sanitizer does not see: two accesses that
// nothing but the scheduler keeps apart are still reported as a race.
//
// Threads that it does not know (a sanitizer's own) run freely and must not call it.
#pragma once

#include "sim/models/surroundings.h"
#include "sim/time/exploration.h"
#include "sim/time/pace.h"

#include <atomic>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <pthread.h>
#include <utility>
#include <vector>

namespace k4sim {

inline constexpr Microseconds never = std::numeric_limits<Microseconds>::max();

// A thread that only computes and reads clocks runs this long before the next has a turn.
inline constexpr Microseconds slice_us = 1000;

// `interrupted`: a signal for the thread was handled. `restarted`: the same, and its handler
// lets calls go on that the system can begin anew (SA_RESTART).
// So many calls of the device in a row take no time; then they have taken a microsecond each. So a
// program that calls without end comes to the end of its time.
inline constexpr int calls_without_time = 10'000;

enum class WakeReason { woken, timed_out, cancelled, interrupted, restarted };

// Whether a wait ends when the thread is cancelled.
enum class Cancellation { disabled, enabled };

struct Thread {
    enum class State { ready, running, waiting, ended };

    int id = 0;         // in order of creation; the first thread of the process is 0
    int system_id = 0;  // the kernel's number; 0 before its first call
    pthread_t handle{}; // set by the creator before the thread has its first turn
    State state = State::ready;
    std::int64_t priority = 0;     // of an exploration
    std::uint64_t turn = 0;        // ready or waiting: the order in which it became so
    const void* object = nullptr;  // waiting: for a wake-up on this; null: for the time only
    Microseconds deadline = never; // waiting: when it times out
    Cancellation cancellation = Cancellation::disabled;
    WakeReason reason = WakeReason::woken;
    Microseconds slice_start = 0;
    bool io_privilege = false; // inherited by the threads that it creates
    bool detached = false;
    bool cancelled = false;     // by now it may also have disabled cancellation
    bool signalled = false;     // it has signals to handle
    std::atomic<int> permit{0}; // the futex: 1 when the thread has the processor
};

// What of the scheduler a thread that it does not know may look at.
struct Pulse {
    std::atomic<std::uint32_t> time{0}; // the lowest bits of virtual time
    std::atomic<bool> held{false};      // while the pace holds it back
    std::atomic<int> runner{0};         // the running thread, as the system numbers it
};

class Scheduler {
public:
    // Adopts the calling thread as thread 0, running.
    Scheduler();

    // Virtual time since the scheduler was made.
    Microseconds now() const { return now_; }

    const Pulse& pulse() const { return pulse_; }

    // The calling thread's record; null when the scheduler does not know it.
    static Thread* current();

    // Time passes by `cost`. Timers that fall due run at their exact time. Hands over
    // when the slice is over and another thread is ready.
    void spend(Microseconds cost);

    // Hands over to the thread that has been ready for longest, if there is one.
    void yield();

    // Other orders of the threads, each as likely, from now on, as the seed has it. Without it a
    // thread runs until it waits or its slice is over, and who was ready first goes on.
    void explore(std::uint64_t seed);

    // A call of the device, at which an exploration may let another thread go on, and which may
    // be one of too many (calls_without_time).
    void point();

    // Waits for a wake-up on `object` (null: none can come) until `deadline`. A deadline
    // that has passed times out, but other ready threads run first.
    WakeReason wait(const void* object, Microseconds deadline,
                    Cancellation cancellation = Cancellation::disabled);

    // Makes the thread that has waited longest on `object`, or all, ready; one tells whether
    // there was any.
    bool wake_one(const void* object);
    void wake_all(const void* object);

    // Runs `action` at `when` (when that has passed: in the next scheduling step), on
    // whatever thread is switching then. Actions of the same time run in the order in
    // which they were handed over, before threads that wake at that time. An action
    // must not spend or wait.
    void at(Microseconds when, std::function<void()> action);

    // Keeps a place in the order of actions of the same time, behind those that were handed over
    // so far. From then on, at_kept_place() plans as if it had been done then.
    void keep_place();
    void at_kept_place(Microseconds when, std::function<void()> action);

    // The same of an action that may wake a thread, or interrupt it; it can be called off as
    // long as it has not begun.
    using Plan = std::pair<Microseconds, std::uint64_t>;
    Plan rouse_at(Microseconds when, std::function<void()> action);
    void call_off(const Plan& plan);

    // A record for a thread that the caller is about to create. It inherits the
    // caller's I/O privilege, and is ready; its thread must call `enter` first.
    Thread& add();

    // Removes a record whose thread was not created, or has ended and was joined.
    void remove(Thread& thread);

    // First call of a new thread: returns at its first turn.
    void enter(Thread& thread);

    // Last call of a thread: wakes who waits on its record, and hands over. The record
    // of a detached thread is gone afterwards.
    void leave();

    // Notes it, and makes a thread ready that waits with cancellation enabled.
    void cancel(Thread& thread);

    // The thread has signals to handle: it does so when it has its turn next, which ends its
    // wait, or by answer().
    void interrupt(Thread& thread);

    // Handles the signals of the calling thread, if it has any.
    void answer();

    // Whether a wait of the calling thread without a deadline would be one for good: there is no
    // other thread, and nothing planned that may rouse it.
    bool waits_for_the_outside() const { return threads_.size() == 1 && !may_be_roused(); }

    // How signals are handled: what the action returns becomes the reason of an interrupted wait.
    void set_signal_action(std::function<WakeReason(Thread& self)> action);

    // The record of a thread that has not been removed, or null.
    Thread* find(pthread_t handle) const;

    // All threads, in order of creation.
    const std::vector<std::unique_ptr<Thread>>& threads() const { return threads_; }

    // At the end of the process: the caller runs freely, in real time, and no other thread
    // runs again.
    static void release_caller();

    // In the child of a fork: of all threads only the caller is left.
    void keep_only_caller();

    // Follow real time at `factor` from now on (2: twice as fast); without: never wait.
    void set_pace(std::optional<double> factor);
    Pace& pace() { return pace_; }

    // Called when no thread can ever run again: each waits without a deadline, and nothing that
    // may rouse one is planned. Other timers do not count, since what they do, such as the end
    // of a tone, wakes no thread. Must end the process.
    void set_deadlock_action(std::function<void()> action);

private:
    struct Timer {
        std::function<void()> action;
        bool rouses;
    };

    Plan add_timer(Microseconds when, Timer timer);
    void wait_for_turn(Thread& self, const void* object, Microseconds deadline,
                       Cancellation cancellation);
    WakeReason handle_signals(Thread& self);
    void advance_to(Microseconds target);
    void run_due();
    void wake_due();
    bool run_due_timer();
    Microseconds next_deadline() const;
    Microseconds next_event() const;
    bool may_be_roused() const;
    Thread* first_ready() const;
    static bool goes_before(const Thread& one, const Thread& other);
    void give_way(Thread& self);
    Thread& choose();
    void make_ready(Thread& thread, WakeReason reason);
    Thread* longest_waiting(const void* object) const;
    void hand_over(Thread& self);
    void take_turn(Thread& self);
    void begin_slice(Thread& thread);
    bool is_one_too_many();
    void set_now(Microseconds time);
    bool hold_pace(Microseconds time);

    Microseconds now_ = 0;
    int next_id_ = 0;
    int calls_ = 0; // since time passed
    std::uint64_t next_turn_ = 0;
    std::uint64_t next_timer_ = 0;
    std::uint64_t kept_place_ = 0;
    std::vector<std::unique_ptr<Thread>> threads_; // a handful: searched, not sorted
    std::map<Plan, Timer> timers_;
    std::function<void()> deadlock_action_;
    std::function<WakeReason(Thread&)> signal_action_;
    std::optional<Exploration> exploration_;
    Pace pace_;
    Pulse pulse_;
};

// The scheduler of this process, made by the first call and never destroyed.
Scheduler& scheduler();

} // namespace k4sim
