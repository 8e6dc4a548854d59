#pragma once
// Named records of POSIX threads. Every thread that the program starts has a
// KLTpthreadBase; the layer finds the record of the calling thread again, and one
// record stands for the process's first thread, the main thread.
//
// Misuse is fatal: a message and "\r\n" on standard error, then exit status -1.

#include <atomic>
#include <memory>
#include <pthread.h>

class KLTptmutex;

// Longest name of a thread or mutex, with its NUL.
inline constexpr int KLTptNameSize = 32;

// Replaces the name of a thread or mutex, filled up with NUL. At most 31 characters; an empty
// or null source changes nothing.
void KLFptsetname(char (&name)[KLTptNameSize], const char* source);

// Results of KLTpthreadBase. Positive results are POSIX error numbers.
inline constexpr int KLTptOk = 0;
inline constexpr int KLTptNothingToDetach = -1; // detach(): no thread is attached
inline constexpr int KLTptWrongState = -2;      // run(): still running; cancel(): no thread

// One thread. idle (no handle) -> running -> finished -> joined.
//
// The object must outlive its thread: the destructor below cannot wait for it, because
// the derived part, on which the thread works, is already gone then. Whoever owns a
// record asks the thread to stop and calls waitend() before he destroys it.
class KLTpthreadBase {
public:
    // name: copied, at most 31 characters. Null or empty: "PT-%d" with the next number,
    // counted from 1 (the static main record is PT-0).
    explicit KLTpthreadBase(const char* name = nullptr);
    KLTpthreadBase(const KLTpthreadBase&) = delete;
    KLTpthreadBase& operator=(const KLTpthreadBase&) = delete;

    // The thread body.
    virtual void threadFuncOwn() = 0;

    // With a thread attached to any record but the main one: exits the thread when it is
    // the calling one, otherwise cancels it without joining it. Not noexcept, since
    // exiting a thread unwinds its stack.
    virtual ~KLTpthreadBase() noexcept(false);

    // Starts the thread. 0: started, or this is the main record. KLTptWrongState: a
    // thread is attached and has not finished. Else the error number of pthread_create.
    // Fatal before KLFptcreatemain: "KLTpthreadBase::run(): Main thread does not exist!".
    int run();

    // Cancels the thread (deferred: it ends at its next cancellation point and still has
    // to be joined, unless it is detached). KLTptWrongState: no thread. On the main record: ends
    // the process with status 0. On the calling thread: ends it. Else the result of pthread_cancel.
    int cancel();

    // Joins the thread, however long that takes. Returns at once without a thread, with
    // a detached one and on the main record. On the calling thread: ends it, finished.
    void waitend();

    // Lets the thread end unjoined; when it ends, however it does, attached() becomes false, and
    // the record may be destroyed from then on. KLTptNothingToDetach: no thread is attached. Else
    // the result of pthread_detach.
    int detach();

    const char* name() const { return name_; }
    // At most 31 characters; an empty or null name changes nothing.
    void name(const char* name);

    // A thread is attached: it runs, or it has finished and is not joined yet.
    bool attached() const { return handle_.load(std::memory_order_acquire) != 0; }
    // The body has returned, or the thread was joined.
    bool finished() const { return finished_.load(std::memory_order_relaxed); }
    // A thread is attached and has not finished.
    bool running() const { return attached() && !finished(); }

    // The mutex that this thread is blocked on, or null. A diagnostic trace.
    const KLTptmutex* waitingFor() const { return waitingFor_.load(std::memory_order_relaxed); }

private:
    friend class KLTptmutex;
    friend KLTpthreadBase* KLFptcreatemain(const char* name);

    struct Bond;
    class Leaving;

    static void* entry(void* share);
    int create();
    bool isCaller() const;
    bool giveUp();

    std::atomic<pthread_t> handle_{0};
    char name_[KLTptNameSize]{};
    std::atomic<bool> finished_{false};
    std::atomic<bool> detached_{false};
    bool reserved_{false};
    std::atomic<KLTptmutex*> waitingFor_{nullptr};
    std::shared_ptr<Bond> bond_;
};

// Keeps cancellation of the calling thread away from a block; a request that comes meanwhile
// takes effect later. For destructors, in which unwinding would end the process.
class KLTptNoCancel {
public:
    KLTptNoCancel() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former_); }
    ~KLTptNoCancel() { pthread_setcancelstate(former_, nullptr); }
    KLTptNoCancel(const KLTptNoCancel&) = delete;
    KLTptNoCancel& operator=(const KLTptNoCancel&) = delete;

private:
    int former_ = PTHREAD_CANCEL_ENABLE;
};

// The record of the process's first thread. Its body does nothing.
class Maintask : public KLTpthreadBase {
public:
    Maintask() : KLTpthreadBase("PT-0") {}
    void threadFuncOwn() override {}
};

// Makes the calling thread the main thread and returns its record. A second call returns
// the record unchanged. An empty or null name leaves the name "PT-0". Fatal when the system
// has no thread-specific key left.
KLTpthreadBase* KLFptcreatemain(const char* name);

// The main record, or null before KLFptcreatemain. Then with must, fatal:
// "KLFptmain(): Main thread doesn't exist!".
KLTpthreadBase* KLFptmain(bool must);

// The record of the calling thread, or null when it has none. Then with must, fatal:
// "KLFptcurrent(): Unknown thread!".
KLTpthreadBase* KLFptcurrent(bool must);

// The name of the calling thread, or fallback when it has no record.
const char* KLFptname(const char* fallback);

// Wall-clock time in microseconds since the epoch.
long long KLFptnow();

// Sleeps us microseconds (0 or less: not at all). Returns 0, or the remaining
// microseconds when a signal cut the sleep short. A cancellation point.
long long KLFptdelay(long long us);

// The end of every misuse: text and "\r\n" on standard error, exit status -1.
[[noreturn]] void fatalError(const char* text);
