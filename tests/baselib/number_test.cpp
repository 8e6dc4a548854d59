#include "number_model.h"

#include <gtest/gtest.h>

TEST(Number, IsReadAndWrittenAsByTheCLibrary) {
    EXPECT_NO_THROW(withRandomInputs(10, 20000, compareNumbers));
}

TEST(Number, HasLimits) {
    for (const long long value : {0LL, LLONG_MAX, LLONG_MIN})
        for (int base = 2; base <= 36; ++base) {
            std::string text = compareWriting(value, '*', 70, 0, base);
            EXPECT_NO_THROW(compareNumber(text, base));
            ++text.back();
            EXPECT_NO_THROW(compareNumber(text, base));
        }
    for (const char* text :
         {"18446744073709551616", "1.7976931348623157e308", "5e-324", "-0", "inf", "-nan", "+-1"})
        EXPECT_NO_THROW(compareNumber(text, 10));
    EXPECT_EQ(KLTastr().itosb(-255, 16, 6), "-000ff");
    EXPECT_EQ(KLTastr().itosb(255, 16), "ff");
    EXPECT_EQ(KLTastr().itos(-12), "-12");
}
