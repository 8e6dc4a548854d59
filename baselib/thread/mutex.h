#pragma once
// Recursive mutex that knows its owner.

#include "baselib/thread/thread.h"

// Only threads with a record may use it (KLFptcreatemain, KLTpthreadBase::run); any other
// caller is fatal: "KLFptcurrent(): Unknown thread!".
//
// Locking may nest, releasing may not: the first release clears the owner, and a second
// one by the same thread is refused like a stranger's. Lock once, release once.
class KLTptmutex {
public:
    // name: copied, at most 31 characters. Null or empty: "MU-%d", counted from 0.
    explicit KLTptmutex(const char* name = nullptr);
    ~KLTptmutex();
    KLTptmutex(const KLTptmutex&) = delete;
    KLTptmutex& operator=(const KLTptmutex&) = delete;

    // Waits for the mutex. Returns the POSIX result, 0 = acquired.
    int lock();

    // true: lock(). false: release().
    int lock(bool acquire);

    // Waits at most timeout_us; 0 or less tries once. Unlike the two forms above it
    // returns true when the mutex was acquired, false when time ran out.
    [[nodiscard]] bool lock(long long timeout_us);
    // So that a plain number such as 0 is a time.
    [[nodiscard]] bool lock(int timeout_us) { return lock(static_cast<long long>(timeout_us)); }
    [[nodiscard]] bool lock(long timeout_us) { return lock(static_cast<long long>(timeout_us)); }

    // Gives the mutex back. Returns the POSIX result. By another thread than the owner,
    // fatal: "KLTptmutex::release(): Only owner can release mutex!".
    int release();

    // The owner's name, or fallback when the mutex is free.
    const char* owner(const char* fallback) const;

    const char* name() const { return name_; }
    // At most 31 characters; an empty or null name changes nothing.
    void name(const char* name);

private:
    int acquired(KLTpthreadBase* caller, int result);

    pthread_mutex_t mutex_;
    std::atomic<KLTpthreadBase*> owner_{nullptr};
    char name_[KLTptNameSize]{};
};

// Holds a mutex for the length of a block, also when the thread is cancelled in it.
class KLTptmutexHold {
public:
    explicit KLTptmutexHold(KLTptmutex& mutex) : mutex_(mutex) { mutex_.lock(true); }
    ~KLTptmutexHold() { mutex_.lock(false); }
    KLTptmutexHold(const KLTptmutexHold&) = delete;
    KLTptmutexHold& operator=(const KLTptmutexHold&) = delete;

private:
    KLTptmutex& mutex_;
};
