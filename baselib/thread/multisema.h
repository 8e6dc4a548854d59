#pragma once
// Counting signal with a value, on a pipe.

// Signals queue in order; each wait takes one. Any number of threads may signal and wait.
class KLTmultisema {
public:
    // Opens the pipe. When that fails, every signal and wait fails.
    KLTmultisema();
    ~KLTmultisema();
    KLTmultisema(const KLTmultisema&) = delete;
    KLTmultisema& operator=(const KLTmultisema&) = delete;

    // Queues value. Blocks while the pipe is full (64 KiB: 16,384 signals). 0, or -1 when
    // the pipe is not usable.
    int signal(int value);

    // Waits for a signal and returns its value; -1 when the pipe is not usable.
    int wait();

private:
    int readEnd_ = -1;
    int writeEnd_ = -1;
};
