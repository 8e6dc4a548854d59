#pragma once
// Stopwatch on KLFnow.

// Adds up the microseconds during which it runs.
class KLTtimer {
public:
    // start: runs from now on. target: gets the total added at destruction; may be null.
    // initial: microseconds to count on from.
    explicit KLTtimer(bool start) : KLTtimer(nullptr, 0, start) {}
    KLTtimer(long long* target, bool start) : KLTtimer(target, 0, start) {}
    KLTtimer(long long initial, bool start) : KLTtimer(nullptr, initial, start) {}
    // So that a plain 0 is a number and not a null target.
    KLTtimer(int initial, bool start) : KLTtimer(nullptr, initial, start) {}
    KLTtimer(long initial, bool start) : KLTtimer(nullptr, initial, start) {}
    ~KLTtimer();
    KLTtimer(const KLTtimer&) = delete;
    KLTtimer& operator=(const KLTtimer&) = delete;

    // Without effect on a timer that runs already.
    void start();
    // Without effect on a stopped timer.
    void stop();
    // Back to 0; a running timer runs on from now.
    void clear();

    // Total in microseconds, with the period that still runs.
    long long operator*() const;

private:
    KLTtimer(long long* target, long long initial, bool start);

    long long* target_;
    long long accumulated_;
    long long started_ = 0;
    bool running_ = false;
};
