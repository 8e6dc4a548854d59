#include "baselib/bittester.h"

#include <algorithm>

namespace {

constexpr char good = '+';
constexpr char stuckHigh = '1';
constexpr char highWithAllOnly = 'L';
constexpr char highTooOften = 'H';
constexpr char neverHigh = '0';
constexpr char untested = '-';

constexpr unsigned long allBits = 0xFFFFFFFFUL;

} // namespace

KLTbitTester::KLTbitTester() {
    map_.fill(untested);
    map_.back() = '\0';
}

unsigned long KLTbitTester::outNin(unsigned long value) { return value; }

bool KLTbitTester::test(int n) {
    const int bits = std::clamp(n, 0, width);
    bool passed = true;
    for (int bit = 0; bit < bits; ++bit) {
        map_[static_cast<std::size_t>(bit)] = judge(bit);
        passed = passed && map_[static_cast<std::size_t>(bit)] == good;
    }
    map_[static_cast<std::size_t>(bits)] = '\0';
    outNin(0);
    return passed;
}

char KLTbitTester::judge(int bit) {
    const unsigned long mask = 1UL << bit;
    const bool withNone = (outNin(0) & mask) != 0;
    const bool withOthers = (outNin(allBits & ~mask) & mask) != 0;
    const bool alone = (outNin(mask) & mask) != 0;
    const bool withAll = (outNin(allBits) & mask) != 0;
    if (!withNone && !withOthers && alone && withAll) return good;
    if ((alone || withAll) && withNone && withOthers) return stuckHigh;
    if (withAll && !alone) return highWithAllOnly;
    return alone || withAll ? highTooOften : neverHigh;
}
