#include "params_model.h"

#include <gtest/gtest.h>

TEST(Params, FollowAnyFormat) { EXPECT_NO_THROW(withRandomInputs(20000, 30, compareParams)); }

TEST(Params, AnswerEachFaultOfTheCall) {
    const char* argv[] = {"program", "run", nullptr};
    EXPECT_EQ(KLTparams(-1, argv, true).parse("x%p"), -8849);
    EXPECT_EQ(KLTparams(2, argv, true).parse(nullptr), -8849);
    EXPECT_EQ(KLTparams(2, nullptr, true).parse(""), -8849);
    EXPECT_EQ(KLTparams(3, argv, true)(""), -8848);
    EXPECT_EQ(KLTparams(2, argv, true)(""), 0);
    EXPECT_EQ(KLTparams(2, argv, true).used(2), 0);
    EXPECT_EQ(KLTparams(-1, argv, true).used(-1), 0);
    bool missing = false;
    EXPECT_EQ(KLTparams(0, argv, true)("x%P", &missing), 0);
    EXPECT_TRUE(missing);
}

TEST(Params, CountUnmatchedKeywordsUpTo255) {
    ParamsModel model({"program"}, true);
    for (int count = 0; count < 300; ++count)
        EXPECT_NO_THROW(model.parse("Name%p"));
}
