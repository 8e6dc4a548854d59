#include "raw_clock.h"

#include <atomic>
#include <sys/times.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr long ticksPerSecond = 100;

std::vector<int> rawTicks{0};
std::atomic<unsigned> nextTick{0};

} // namespace

void setRawTicks(std::vector<int> ticks) {
    rawTicks = std::move(ticks);
    nextTick = 0;
}

// The linker puts these in the place of the C library's for the code under test alone
// (--wrap): the sanitizers' own calls, before they have started, stay as they are.
extern "C" clock_t __wrap_times(struct tms*) {
    const unsigned index = nextTick++;
    return index < rawTicks.size() ? rawTicks[index] : rawTicks.back();
}

extern "C" long __real_sysconf(int name);

extern "C" long __wrap_sysconf(int name) {
    return name == _SC_CLK_TCK ? ticksPerSecond : __real_sysconf(name);
}
