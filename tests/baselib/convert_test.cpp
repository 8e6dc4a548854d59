#include "baselib/print/convert.h"

#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

struct Converted {
    std::string digits;
    bool negative;
};

Converted convert(long long value, int size) {
    char buffer[KLTconvertSize];
    bool negative = true;
    int length = -1;
    KLFconvert(value, buffer, size, &negative, &length);
    return {{buffer, static_cast<size_t>(length)}, negative};
}

std::string printed(const char* format, auto value) {
    char buffer[KLTconvertSize + 1];
    snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

// The value as a signed number and as an unsigned one of every size.
void compare(long long value) {
    const auto [digits, negative] = convert(value, 0);
    ASSERT_EQ((negative ? "-" : "") + digits, printed("%lld", value));
    for (int size = 1; size <= 8; ++size) {
        const auto bits = static_cast<unsigned long long>(value) & (~0ULL >> (64 - size * 8));
        const Converted result = convert(value, size);
        ASSERT_EQ(result.digits, printed("%llu", bits)) << "size " << size;
        ASSERT_FALSE(result.negative);
    }
}

void compareAround(unsigned long long value) {
    for (unsigned long long offset = 0; offset < 5; ++offset) {
        const auto near = static_cast<long long>(value + offset - 2);
        ASSERT_NO_FATAL_FAILURE(compare(near));
        ASSERT_NO_FATAL_FAILURE(compare(static_cast<long long>(0 - (value + offset - 2))));
    }
}

TEST(Convert, AroundPowersOfTwoAndTen) {
    for (int bit = 0; bit < 64; ++bit)
        ASSERT_NO_FATAL_FAILURE(compareAround(1ULL << bit));
    unsigned long long power = 1;
    for (int exponent = 0; exponent < KLTconvertDigitsMax; ++exponent, power *= 10)
        ASSERT_NO_FATAL_FAILURE(compareAround(power));
}

TEST(Convert, RandomValuesOfAllMagnitudes) {
    std::mt19937_64 random(20190304);
    for (int i = 0; i < 20000; ++i) {
        const uint64_t value = random() >> random() % 64;
        ASSERT_NO_FATAL_FAILURE(compare(static_cast<long long>(value)));
    }
}

} // namespace
