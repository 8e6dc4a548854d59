#include "sim/time/scheduler.h"

#include "sim/time/futex.h"
#include "sim/time/system_call.h"
#include "sim/time/unobserved.h"

#include <algorithm>
#include <cstdlib>
#include <sys/syscall.h>

namespace k4sim {

namespace {

thread_local Thread* current_thread = nullptr;

int system_id() { return static_cast<int>(system_call()(SYS_gettid)); }

} // namespace

Scheduler::Scheduler() {
    threads_.push_back(std::make_unique<Thread>());
    Thread& first = *threads_.back();
    first.id = next_id_++;
    first.handle = pthread_self();
    first.system_id = pulse_.runner = system_id();
    first.state = Thread::State::running;
    current_thread = &first;
}

Thread* Scheduler::current() { return current_thread; }

void Scheduler::spend(Microseconds cost) {
    const Unobserved unobserved;
    advance_to(now_ + cost);
    const Thread& self = *current();
    if (now_ - self.slice_start >= slice_us) yield();
    point();
    answer();
}

void Scheduler::yield() {
    if (first_ready() == nullptr) return;
    Thread& self = *current();
    if (exploration_) self.priority = exploration_->lowest();
    give_way(self);
    answer();
}

void Scheduler::explore(std::uint64_t seed) {
    exploration_.emplace(seed);
    for (const auto& thread : threads_)
        thread->priority = exploration_->priority();
}

void Scheduler::point() {
    if (is_one_too_many()) return spend(calls_without_time);
    if (!exploration_) return;
    Thread& self = *current();
    if (exploration_->changes()) self.priority = exploration_->priority();
    const Thread* const next = first_ready();
    if (next == nullptr || next->priority <= self.priority) return;
    give_way(self);
    answer();
}

WakeReason Scheduler::wait(const void* object, Microseconds deadline, Cancellation cancellation) {
    if (is_one_too_many()) spend(calls_without_time);
    Thread& self = *current();
    wait_for_turn(self, object, deadline, cancellation);
    const WakeReason reason = self.reason;
    if (!self.signalled) return reason;
    const WakeReason handled = handle_signals(self);
    return reason == WakeReason::interrupted ? handled : reason;
}

void Scheduler::wait_for_turn(Thread& self, const void* object, Microseconds deadline,
                              Cancellation cancellation) {
    const Unobserved unobserved;
    self.state = Thread::State::waiting;
    self.turn = next_turn_++;
    self.object = object;
    self.deadline = deadline;
    self.cancellation = cancellation;
    hand_over(self);
}

bool Scheduler::wake_one(const void* object) {
    Thread* const thread = longest_waiting(object);
    if (thread != nullptr) make_ready(*thread, WakeReason::woken);
    return thread != nullptr;
}

void Scheduler::wake_all(const void* object) {
    while (Thread* thread = longest_waiting(object))
        make_ready(*thread, WakeReason::woken);
}

void Scheduler::at(Microseconds when, std::function<void()> action) {
    const Unobserved unobserved;
    add_timer(when, {std::move(action), false});
}

// Wide enough for whatever a person does.
void Scheduler::keep_place() {
    constexpr std::uint64_t width = 1 << 30;
    kept_place_ = next_timer_;
    next_timer_ += width;
}

void Scheduler::at_kept_place(Microseconds when, std::function<void()> action) {
    const Unobserved unobserved;
    timers_.emplace(Plan(std::max(when, now_), kept_place_++), Timer{std::move(action), false});
}

Scheduler::Plan Scheduler::rouse_at(Microseconds when, std::function<void()> action) {
    const Unobserved unobserved;
    return add_timer(when, {std::move(action), true});
}

void Scheduler::call_off(const Plan& plan) {
    const Unobserved unobserved;
    timers_.erase(plan);
}

Scheduler::Plan Scheduler::add_timer(Microseconds when, Timer timer) {
    return timers_.emplace(Plan(std::max(when, now_), next_timer_++), std::move(timer))
        .first->first;
}

Thread& Scheduler::add() {
    const Unobserved unobserved;
    threads_.push_back(std::make_unique<Thread>());
    Thread& thread = *threads_.back();
    thread.id = next_id_++;
    thread.io_privilege = current()->io_privilege;
    if (exploration_) thread.priority = exploration_->priority();
    make_ready(thread, WakeReason::woken);
    return thread;
}

void Scheduler::remove(Thread& thread) {
    const Unobserved unobserved;
    std::erase_if(threads_, [&](const auto& record) { return record.get() == &thread; });
}

void Scheduler::enter(Thread& thread) {
    current_thread = &thread;
    thread.system_id = system_id();
    take_turn(thread);
    answer();
}

void Scheduler::leave() {
    const Unobserved unobserved;
    Thread& self = *current();
    self.state = Thread::State::ended;
    wake_all(&self);
    Thread& next = choose();
    // From here on another thread runs: nothing of the scheduler may be touched.
    if (self.detached) remove(self);
    current_thread = nullptr;
    give_permit(next.permit);
}

void Scheduler::cancel(Thread& thread) {
    thread.cancelled = true;
    if (thread.state == Thread::State::waiting && thread.cancellation == Cancellation::enabled)
        make_ready(thread, WakeReason::cancelled);
}

void Scheduler::interrupt(Thread& thread) {
    thread.signalled = true;
    if (thread.state == Thread::State::waiting) make_ready(thread, WakeReason::interrupted);
}

void Scheduler::answer() {
    if (current()->signalled) handle_signals(*current());
}

WakeReason Scheduler::handle_signals(Thread& self) {
    self.signalled = false;
    return signal_action_(self);
}

void Scheduler::set_signal_action(std::function<WakeReason(Thread&)> action) {
    signal_action_ = std::move(action);
}

Thread* Scheduler::find(pthread_t handle) const {
    const auto found = std::find_if(threads_.begin(), threads_.end(), [&](const auto& thread) {
        return pthread_equal(thread->handle, handle) != 0;
    });
    return found == threads_.end() ? nullptr : found->get();
}

void Scheduler::release_caller() { current_thread = nullptr; }

void Scheduler::keep_only_caller() {
    const Unobserved unobserved;
    std::erase_if(threads_, [](const auto& thread) { return thread.get() != current(); });
    current()->system_id = pulse_.runner = system_id();
}

void Scheduler::set_pace(std::optional<double> factor) { pace_.set(factor, now_); }

void Scheduler::set_deadlock_action(std::function<void()> action) {
    deadlock_action_ = std::move(action);
}

// Time passes while a thread runs: each timer and wake-up on the way at its own time.
void Scheduler::advance_to(Microseconds target) {
    for (Microseconds next = next_event(); next <= target; next = next_event()) {
        set_now(std::max(now_, next));
        run_due();
    }
    set_now(target);
    while (!hold_pace(now_)) {
    }
}

void Scheduler::run_due() {
    while (run_due_timer()) {
    }
    wake_due();
}

bool Scheduler::run_due_timer() {
    if (timers_.empty() || timers_.begin()->first.first > now_) return false;
    const auto action = std::move(timers_.begin()->second.action);
    timers_.erase(timers_.begin());
    action();
    return true;
}

// By deadline, then in order of creation, which is the order of the records.
void Scheduler::wake_due() {
    const auto due = [&](const auto& thread) {
        return thread->state == Thread::State::waiting && thread->deadline <= now_;
    };
    for (;;) {
        Thread* earliest = nullptr;
        for (const auto& thread : threads_)
            if (due(thread) && (earliest == nullptr || thread->deadline < earliest->deadline))
                earliest = thread.get();
        if (earliest == nullptr) return;
        make_ready(*earliest, WakeReason::timed_out);
    }
}

Microseconds Scheduler::next_deadline() const {
    Microseconds next = never;
    for (const auto& thread : threads_)
        if (thread->state == Thread::State::waiting) next = std::min(next, thread->deadline);
    return next;
}

Microseconds Scheduler::next_event() const {
    const Microseconds deadline = next_deadline();
    return timers_.empty() ? deadline : std::min(deadline, timers_.begin()->first.first);
}

bool Scheduler::may_be_roused() const {
    return std::ranges::any_of(timers_, [](const auto& timer) { return timer.second.rouses; });
}

Thread* Scheduler::first_ready() const {
    Thread* first = nullptr;
    for (const auto& thread : threads_)
        if (thread->state == Thread::State::ready && (!first || goes_before(*thread, *first)))
            first = thread.get();
    return first;
}

// Without an exploration all have the same priority.
bool Scheduler::goes_before(const Thread& one, const Thread& other) {
    return one.priority != other.priority ? one.priority > other.priority : one.turn < other.turn;
}

void Scheduler::give_way(Thread& self) {
    const Unobserved unobserved;
    make_ready(self, WakeReason::woken);
    hand_over(self);
}

// The thread that runs next; the clock jumps as far as that takes.
Thread& Scheduler::choose() {
    for (;;) {
        run_due();
        if (Thread* next = first_ready()) {
            begin_slice(*next);
            return *next;
        }
        if (next_deadline() == never && !may_be_roused()) {
            deadlock_action_();
            std::abort();
        }
        const Microseconds next = next_event();
        if (hold_pace(next)) set_now(next);
    }
}

void Scheduler::make_ready(Thread& thread, WakeReason reason) {
    thread.state = Thread::State::ready;
    thread.reason = reason;
    thread.turn = next_turn_++;
    thread.object = nullptr;
    thread.deadline = never;
}

Thread* Scheduler::longest_waiting(const void* object) const {
    Thread* longest = nullptr;
    for (const auto& thread : threads_)
        if (thread->state == Thread::State::waiting && thread->object == object &&
            (longest == nullptr || thread->turn < longest->turn))
            longest = thread.get();
    return longest;
}

void Scheduler::hand_over(Thread& self) {
    Thread& next = choose();
    if (&next == &self) return;
    give_permit(next.permit);
    take_turn(self);
}

void Scheduler::take_turn(Thread& self) {
    take_permit(self.permit);
    pulse_.runner = self.system_id;
}

bool Scheduler::is_one_too_many() { return ++calls_ > calls_without_time; }

void Scheduler::set_now(Microseconds time) {
    if (time != now_) calls_ = 0;
    now_ = time;
    pulse_.time.store(static_cast<std::uint32_t>(time), std::memory_order_relaxed);
}

// False: what comes next may be something else now.
bool Scheduler::hold_pace(Microseconds time) {
    pulse_.held.store(true, std::memory_order_relaxed);
    const bool reached = pace_.hold(now_, time);
    pulse_.held.store(false, std::memory_order_relaxed);
    return reached;
}

void Scheduler::begin_slice(Thread& thread) {
    thread.state = Thread::State::running;
    thread.slice_start = now_;
}

Scheduler& scheduler() {
    static Scheduler* const only = new Scheduler;
    return *only;
}

} // namespace k4sim
