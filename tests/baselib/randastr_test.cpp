#include "baselib/text/randastr.h"

#include "baselib/time/clock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>

TEST(Randastr, DrawsLengthsAndPairsOfCharactersEvenly) {
    KLTrandastr texts{KLTastr("0123456789")};
    std::map<std::string, int> counts;
    for (int i = 0; i < 100'000; ++i) {
        const std::string text = texts.text(2, 9).text();
        ++counts["length " + std::to_string(text.size())];
        ++counts[text.substr(0, 2)];
    }
    EXPECT_EQ(counts.size(), 8U + 100U);
    EXPECT_TRUE(counts.contains("length 2") && counts.contains("length 9"));
    for (const auto& [key, count] : counts) {
        const double expected = key.starts_with("length") ? 12500 : 1000;
        EXPECT_NEAR(count, expected, 6 * std::sqrt(expected)) << key; // six standard deviations
    }
}

TEST(Randastr, CutsTheBoundsOfTheLength) {
    KLTrandastr texts{KLTastr("b")};
    EXPECT_EQ(texts.text(3, 3), "bbb");
    EXPECT_EQ(texts.text(3, 1), "bbb");
    EXPECT_EQ(texts.text(-5, -1), "");
    EXPECT_EQ(KLTrandastr{KLTastr()}.text(5, 10), "");
}

TEST(Randastr, DrawsOtherTextsInTheNextRun) {
    const KLTastr first = KLTrandastr{KLTastr("0123456789")}.text(100, 100);
    KLFdelay(1'000'000);
    EXPECT_FALSE(first == KLTrandastr{KLTastr("0123456789")}.text(100, 100));
}
