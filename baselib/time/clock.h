#pragma once
// The clock of the program: time that never runs backwards, and a sleep.

// Microseconds since an arbitrary fixed point. The resolution is a tick of the process
// clock, sysconf(_SC_CLK_TCK): 10,000 us at 100 ticks a second. Continuous across the
// overflows of the 32-bit tick count as long as it is called once between two of them
// (every 248 days at 100 ticks a second). Any thread may call it.
long long KLFnow();

// Sleeps. Only the low 32 bits of microseconds count (at most 71 minutes). A signal may
// cut the sleep short. A cancellation point.
void KLFdelay(long long microseconds);
