#include "baselib/thread/thread.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr long long microsecondsPerSecond = 1'000'000;
constexpr long nanosecondsPerMicrosecond = 1'000;

// Number 0 belongs to the static main record, in whatever order the static objects of
// the program are constructed.
constinit std::atomic<int> nextThreadNumber{1};

// Set up by the main thread before there are others, and constant from then on.
pthread_key_t recordKey;
bool recordKeyExists = false;
KLTpthreadBase* mainRecord = nullptr;

class StateHold {
public:
    explicit StateHold(pthread_mutex_t& lock) : lock_(lock) { pthread_mutex_lock(&lock_); }
    ~StateHold() { pthread_mutex_unlock(&lock_); }
    StateHold(const StateHold&) = delete;
    StateHold& operator=(const StateHold&) = delete;

private:
    pthread_mutex_t& lock_;
};

Maintask& staticMaintask() {
    static Maintask maintask;
    return maintask;
}

} // namespace

void KLFptsetname(char (&name)[KLTptNameSize], const char* source) {
    if (!source || !*source) return;
    const size_t length = strnlen(source, sizeof name - 1);
    memmove(name, source, length);
    memset(name + length, 0, sizeof name - length);
}

KLTpthreadBase::KLTpthreadBase(const char* name) {
    if (name && *name)
        this->name(name);
    else
        snprintf(name_, sizeof name_, "PT-%d", nextThreadNumber.fetch_add(1, relaxed));
}

KLTpthreadBase::~KLTpthreadBase() noexcept(false) {
    if (this == mainRecord || !attached()) return;
    if (isCaller()) pthread_exit(nullptr);
    // Nobody can join the thread from now on, so its memory is left to the system.
    const pthread_t handle = handle_.load(relaxed);
    pthread_cancel(handle);
    if (!detached_.load(relaxed)) pthread_detach(handle);
}

int KLTpthreadBase::run() {
    if (!mainRecord) fatalError("KLTpthreadBase::run(): Main thread does not exist!");
    if (this == mainRecord) return KLTptOk;
    const StateHold hold(stateLock_);
    return running() ? KLTptWrongState : create();
}

int KLTpthreadBase::cancel() {
    if (!attached()) return KLTptWrongState;
    if (this == mainRecord) exit(EXIT_SUCCESS);
    if (isCaller()) pthread_exit(nullptr);
    return pthread_cancel(handle_.load(relaxed));
}

void KLTpthreadBase::waitend() {
    if (this == mainRecord || !attached()) return;
    if (isCaller()) {
        markFinished();
        pthread_exit(nullptr);
    }
    if (detached_.load(relaxed)) return;
    pthread_join(handle_.load(relaxed), nullptr);
    const StateHold hold(stateLock_);
    handle_.store(0, relaxed);
    finished_.store(true, relaxed);
}

int KLTpthreadBase::detach() {
    const StateHold hold(stateLock_);
    if (!attached()) return KLTptNothingToDetach;
    detached_.store(true, relaxed);
    const int result = pthread_detach(handle_.load(relaxed));
    // A body that has returned already did not know that it has to clear the handle.
    if (finished()) handle_.store(0, relaxed);
    return result;
}

void KLTpthreadBase::name(const char* name) { KLFptsetname(name_, name); }

void* KLTpthreadBase::entry(void* record) {
    auto* self = static_cast<KLTpthreadBase*>(record);
    { const StateHold created(self->stateLock_); }
    pthread_setspecific(recordKey, self);
    self->threadFuncOwn();
    self->markFinished();
    return nullptr;
}

// With the state locked. A finished thread that nobody joined is given up first.
int KLTpthreadBase::create() {
    const pthread_t former = handle_.load(relaxed);
    if (former != 0) pthread_detach(former);
    finished_.store(false, relaxed);
    detached_.store(false, relaxed);
    pthread_t handle = 0;
    const int result = pthread_create(&handle, nullptr, entry, this);
    handle_.store(result == 0 ? handle : 0, relaxed);
    return result;
}

bool KLTpthreadBase::isCaller() const {
    return pthread_equal(handle_.load(relaxed), pthread_self()) != 0;
}

void KLTpthreadBase::markFinished() {
    const StateHold hold(stateLock_);
    finished_.store(true, relaxed);
    if (detached_.load(relaxed)) handle_.store(0, relaxed);
}

KLTpthreadBase* KLFptcreatemain(const char* name) {
    if (mainRecord) return mainRecord;
    if (pthread_key_create(&recordKey, nullptr) != 0)
        fatalError("KLFptcreatemain(): No thread-specific key left!");
    recordKeyExists = true;
    mainRecord = &staticMaintask();
    mainRecord->handle_.store(pthread_self(), relaxed);
    pthread_setspecific(recordKey, mainRecord);
    mainRecord->name(name);
    return mainRecord;
}

KLTpthreadBase* KLFptmain(bool must) {
    if (!mainRecord && must) fatalError("KLFptmain(): Main thread doesn't exist!");
    return mainRecord;
}

KLTpthreadBase* KLFptcurrent(bool must) {
    auto* record =
        recordKeyExists ? static_cast<KLTpthreadBase*>(pthread_getspecific(recordKey)) : nullptr;
    if (!record && must) fatalError("KLFptcurrent(): Unknown thread!");
    return record;
}

const char* KLFptname(const char* fallback) {
    const KLTpthreadBase* record = KLFptcurrent(false);
    return record ? record->name() : fallback;
}

long long KLFptnow() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now.tv_sec * microsecondsPerSecond + now.tv_usec;
}

long long KLFptdelay(long long us) {
    if (us <= 0) return 0;
    timespec wanted{};
    wanted.tv_sec = static_cast<time_t>(us / microsecondsPerSecond);
    wanted.tv_nsec = static_cast<long>(us % microsecondsPerSecond) * nanosecondsPerMicrosecond;
    timespec left{};
    if (nanosleep(&wanted, &left) == 0 || errno != EINTR) return 0;
    // Rounded up: an interrupted sleep must not look like a full one.
    return left.tv_sec * microsecondsPerSecond +
           (left.tv_nsec + nanosecondsPerMicrosecond - 1) / nanosecondsPerMicrosecond;
}

void fatalError(const char* text) {
    fprintf(stderr, "%s\r\n", text);
    exit(-1);
}
