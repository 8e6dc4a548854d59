#pragma once
// Tests the lines of a parallel port, bit by bit, through a loopback.

#include <array>

// A derived class reaches the port by outNin(); the base simulates a perfect loopback.
class KLTbitTester {
public:
    static constexpr int width = 32;

    KLTbitTester();
    KLTbitTester(const KLTbitTester&) = delete;
    KLTbitTester& operator=(const KLTbitTester&) = delete;
    virtual ~KLTbitTester() = default;

    // Sets all lines to `value` and returns what comes back.
    virtual unsigned long outNin(unsigned long value);

    // Tests the bits 0 to n-1 (n at most `width`) and leaves all lines low. True when all
    // passed; bitMap() then has a "+" for each.
    bool test(int n);

    // One character for each bit of the last test, bit 0 first:
    //   +  follows its own line, alone and in company
    //   1  stuck high
    //   L  comes high only when all lines are high
    //   H  comes high, but also when it should be low
    //   0  never seen high
    //   -  not tested
    const char* bitMap() const { return map_.data(); }

private:
    char judge(int bit);

    std::array<char, width + 1> map_;
};
