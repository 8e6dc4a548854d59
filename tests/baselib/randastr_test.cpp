#include "baselib/text/randastr.h"

#include "baselib/time/clock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

constexpr const char* digits = "0123456789";

std::string draw(KLTrandastr& texts, int lengthMin, int lengthMax) {
    const KLTastr text = texts.text(lengthMin, lengthMax);
    return {text.text(), static_cast<size_t>(text.length())};
}

// How far the counts are from being even, in standard deviations of the chi-square sum.
template <class Key>
double unevenness(const std::map<Key, int>& counts, std::size_t expectedKeys) {
    if (counts.size() != expectedKeys) return INFINITY;
    double total = 0;
    for (const auto& [key, count] : counts)
        total += count;
    const double expected = total / static_cast<double>(counts.size());
    double sum = 0;
    for (const auto& [key, count] : counts)
        sum += (count - expected) * (count - expected) / expected;
    const double freedom = static_cast<double>(counts.size()) - 1;
    return (sum - freedom) / std::sqrt(2 * freedom);
}

TEST(Randastr, LengthsAndPairsOfCharactersAreEven) {
    constexpr double tolerance = 6;
    KLTrandastr texts{KLTastr(digits)};
    std::map<std::size_t, int> lengths;
    std::map<std::string, int> pairs;
    for (int i = 0; i < 20'000; ++i) {
        const std::string text = draw(texts, 50, 100);
        ++lengths[text.size()];
        for (std::size_t at = 0; at + 1 < text.size(); at += 2)
            ++pairs[text.substr(at, 2)];
    }
    EXPECT_EQ(lengths.begin()->first, 50U);
    EXPECT_EQ(lengths.rbegin()->first, 100U);
    EXPECT_LT(unevenness(lengths, 51), tolerance);
    EXPECT_LT(unevenness(pairs, 100), tolerance);
}

TEST(Randastr, BoundsOfTheLength) {
    KLTrandastr texts{KLTastr("b")};
    EXPECT_EQ(draw(texts, 3, 3), "bbb");
    EXPECT_EQ(draw(texts, 3, 1), "bbb");
    EXPECT_EQ(draw(texts, -5, -1), "");
    EXPECT_EQ(draw(texts, 0, 0), "");
    KLTrandastr none{KLTastr()};
    EXPECT_EQ(draw(none, 5, 10), "");
}

TEST(Randastr, NextRunGetsOtherTexts) {
    KLTrandastr first{KLTastr(digits)};
    KLFdelay(1'000'000);
    KLTrandastr second{KLTastr(digits)};
    EXPECT_NE(draw(first, 100, 100), draw(second, 100, 100));
}

} // namespace
