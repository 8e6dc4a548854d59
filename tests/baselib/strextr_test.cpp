#include "strextr_model.h"

#include <gtest/gtest.h>

TEST(Strextr, TakesTextsApartAsStdString) {
    EXPECT_NO_THROW(withRandomInputs(4000, 300, compareExtraction));
}

TEST(Strextr, SeparatesAtBlanksOrNowhere) {
    KLTastr token;
    EXPECT_EQ(KLTstrextr(" \t\r\na,b c").extract(token), KLTnumberOk);
    EXPECT_EQ(token, "a,b");
    EXPECT_EQ(KLTstrextr("a b", nullptr).extract(token), KLTnumberOk);
    EXPECT_EQ(KLTstrextr(" ").extract(token), KLTnumberEmpty);
    EXPECT_EQ(token, "a b");
}
