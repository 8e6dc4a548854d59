#include "baselib/fatal.h"

#include <gtest/gtest.h>

namespace {

TEST(FatalDeathTest, SaysWhatWhereAndWhyAndAborts) {
    EXPECT_EXIT(KLFfatal("broken list", 42, "astr", "count is -1"),
                testing::KilledBySignal(SIGABRT),
                "^KELlib-Error broken list in module astr, line 42 \\(count is -1\\)\n$");
}

TEST(WordSizesDeathTest, EveryMismatchIsReportedBeforeTheAbort) {
    static const WSchecker::Row table[] = {
        {2, 2, "short"}, {4, 8, "long"}, {4, 4, "int"}, {4, 2, "wchar"}, {0, 9, "behind the end"}};
    EXPECT_EXIT(WSchecker{table}, testing::KilledBySignal(SIGABRT),
                "^Word size mismatch for 'long': Expected 4, is 8\r\n"
                "Word size mismatch for 'wchar': Expected 4, is 2\r\n$");
}

TEST(WordSizes, MatchingTablesPassSilently) {
    static const WSchecker::Row table[] = {{2, 2, "short"}, {8, 8, "long long"}, {0, 0, nullptr}};
    static const WSchecker::Row empty[] = {{0, 0, nullptr}};
    testing::internal::CaptureStderr();
    WSchecker{table};
    WSchecker{empty};
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
