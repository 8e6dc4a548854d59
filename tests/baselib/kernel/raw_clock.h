#pragma once
// The process clock of this test program, in place of the kernel's.

#include <vector>

// The raw counts that times() returns, one after the other; the last one stays.
void setRawTicks(std::vector<int> ticks);
