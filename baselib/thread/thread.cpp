#include "baselib/thread/thread.h"

#include "baselib/thread/timespec.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/time.h>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;

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

// What a record shares with its threads. It outlives them all, so that neither side touches
// what the other has freed.
struct KLTpthreadBase::Bond {
    explicit Bond(KLTpthreadBase* owner) : record(owner) {}

    // Handle and flags of the record change together under it, so that a new thread never outruns
    // the handle that its creator is about to store, and none is cancelled that has ended.
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    KLTpthreadBase* record; // null once it is destroyed
};

// In a thread's frame: its last touch of the record, also when the thread is cancelled. The record
// may be gone by then, or have a new thread.
class KLTpthreadBase::Leaving {
public:
    explicit Leaving(Bond& bond) : bond_(bond) {}
    ~Leaving() {
        const StateHold hold(bond_.lock);
        KLTpthreadBase* record = bond_.record;
        if (!record || !record->isCaller()) return;
        if (returned) record->finished_.store(true, relaxed);
        if (record->detached_.load(relaxed)) record->handle_.store(0, std::memory_order_release);
    }
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;

    bool returned = false;

private:
    Bond& bond_;
};

KLTpthreadBase::KLTpthreadBase(const char* name) : bond_(std::make_shared<Bond>(this)) {
    if (name && *name)
        this->name(name);
    else
        snprintf(name_, sizeof name_, "PT-%d", nextThreadNumber.fetch_add(1, relaxed));
}

KLTpthreadBase::~KLTpthreadBase() noexcept(false) {
    if (giveUp()) pthread_exit(nullptr);
}

// Ends the bond. True: the calling thread is the one that is attached.
bool KLTpthreadBase::giveUp() {
    const StateHold hold(bond_->lock);
    bond_->record = nullptr;
    if (this == mainRecord || !attached()) return false;
    const pthread_t handle = handle_.load(relaxed);
    const bool caller = isCaller();
    if (!caller) pthread_cancel(handle);
    // Nobody can join the thread from now on, so its memory is left to the system.
    if (!detached_.load(relaxed)) pthread_detach(handle);
    return caller;
}

int KLTpthreadBase::run() {
    if (!mainRecord) fatalError("KLTpthreadBase::run(): Main thread does not exist!");
    if (this == mainRecord) return KLTptOk;
    const StateHold hold(bond_->lock);
    return running() ? KLTptWrongState : create();
}

int KLTpthreadBase::cancel() {
    if (!attached()) return KLTptWrongState;
    if (this == mainRecord) exit(EXIT_SUCCESS);
    if (isCaller()) pthread_exit(nullptr);
    const StateHold hold(bond_->lock);
    return attached() ? pthread_cancel(handle_.load(relaxed)) : KLTptWrongState;
}

void KLTpthreadBase::waitend() {
    if (this == mainRecord || !attached()) return;
    if (isCaller()) {
        finished_.store(true, relaxed);
        pthread_exit(nullptr);
    }
    if (detached_.load(relaxed)) return;
    pthread_join(handle_.load(relaxed), nullptr);
    const StateHold hold(bond_->lock);
    handle_.store(0, relaxed);
    finished_.store(true, relaxed);
}

int KLTpthreadBase::detach() {
    const StateHold hold(bond_->lock);
    if (!attached()) return KLTptNothingToDetach;
    detached_.store(true, relaxed);
    const int result = pthread_detach(handle_.load(relaxed));
    // A body that has returned already did not know that it has to clear the handle.
    if (finished()) handle_.store(0, relaxed);
    return result;
}

void KLTpthreadBase::name(const char* name) { KLFptsetname(name_, name); }

void* KLTpthreadBase::entry(void* share) {
    const std::unique_ptr<std::shared_ptr<Bond>> bond(static_cast<std::shared_ptr<Bond>*>(share));
    Leaving leaving(**bond);
    KLTpthreadBase* record = nullptr;
    {
        const StateHold created((*bond)->lock);
        record = (*bond)->record;
    }
    if (!record) return nullptr;
    pthread_setspecific(recordKey, record);
    record->threadFuncOwn();
    leaving.returned = true;
    return nullptr;
}

// With the state locked. A finished thread that nobody joined is given up first.
int KLTpthreadBase::create() {
    const pthread_t former = handle_.load(relaxed);
    if (former != 0) pthread_detach(former);
    finished_.store(false, relaxed);
    detached_.store(false, relaxed);
    pthread_t handle = 0;
    auto share = std::make_unique<std::shared_ptr<Bond>>(bond_);
    const int result = pthread_create(&handle, nullptr, entry, share.get());
    if (result == 0) static_cast<void>(share.release()); // the thread's now
    handle_.store(result == 0 ? handle : 0, relaxed);
    return result;
}

bool KLTpthreadBase::isCaller() const {
    return pthread_equal(handle_.load(relaxed), pthread_self()) != 0;
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
    const timespec wanted = timespecOf(us);
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
