#pragma once
// The operator's ways to abort from outside the panel: Ctrl-C (SIGINT), a terminal that is closed
// (SIGHUP), a request to terminate (SIGTERM).

// Keeps these signals for takeAbortSignal, in the calling thread and all that it creates from then
// on, and lets a console that nobody reads any more (SIGPIPE) end nothing. Before the first thread.
void holdAbortSignals();

// Waits at most wait_us microseconds for one of them, and takes it. True when one came. No
// cancellation point.
[[nodiscard]] bool takeAbortSignal(long long wait_us);
