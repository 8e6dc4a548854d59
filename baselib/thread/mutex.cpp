#include "baselib/thread/mutex.h"

#include "baselib/thread/timespec.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace {

constinit std::atomic<int> nextMutexNumber{0};

// The wall-clock time timeout_us from now; the end of time when that overflows.
timespec deadline(long long timeout_us) {
    const long long now_us = KLFptnow();
    const long long end_us =
        now_us + std::min(timeout_us, std::numeric_limits<long long>::max() - now_us);
    return timespecOf(end_us);
}

} // namespace

KLTptmutex::KLTptmutex(const char* name) {
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &recursive);
    pthread_mutexattr_destroy(&recursive);
    if (name && *name)
        this->name(name);
    else
        snprintf(name_, sizeof name_, "MU-%d",
                 nextMutexNumber.fetch_add(1, std::memory_order_relaxed));
}

KLTptmutex::~KLTptmutex() { pthread_mutex_destroy(&mutex_); }

int KLTptmutex::lock() {
    KLTpthreadBase* caller = KLFptcurrent(true);
    caller->waitingFor_.store(this, std::memory_order_relaxed);
    return acquired(caller, pthread_mutex_lock(&mutex_));
}

int KLTptmutex::lock(bool acquire) { return acquire ? lock() : release(); }

bool KLTptmutex::lock(long long timeout_us) {
    KLTpthreadBase* caller = KLFptcurrent(true);
    if (timeout_us <= 0) return acquired(caller, pthread_mutex_trylock(&mutex_)) == 0;
    const timespec end = deadline(timeout_us);
    caller->waitingFor_.store(this, std::memory_order_relaxed);
    return acquired(caller, pthread_mutex_timedlock(&mutex_, &end)) == 0;
}

int KLTptmutex::release() {
    if (owner_.load(std::memory_order_relaxed) != KLFptcurrent(true))
        fatalError("KLTptmutex::release(): Only owner can release mutex!");
    owner_.store(nullptr, std::memory_order_relaxed);
    return pthread_mutex_unlock(&mutex_);
}

const char* KLTptmutex::owner(const char* fallback) const {
    const KLTpthreadBase* record = owner_.load(std::memory_order_relaxed);
    return record ? record->name() : fallback;
}

void KLTptmutex::name(const char* name) { KLFptsetname(name_, name); }

// The end of each wait: who got the mutex owns it, and nobody waits any more.
int KLTptmutex::acquired(KLTpthreadBase* caller, int result) {
    if (result == 0) owner_.store(caller, std::memory_order_relaxed);
    caller->waitingFor_.store(nullptr, std::memory_order_relaxed);
    return result;
}
