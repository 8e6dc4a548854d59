// Each death starts the program anew: no main thread exists there, whatever came before.

#include "baselib/thread/thread.h"

#include <gtest/gtest.h>
#include <string>

namespace {

class Idle : public KLTpthreadBase {
public:
    void threadFuncOwn() override {}
};

constexpr int statusOfMisuse = 255; // exit status -1

void expectNothingBeforeTheMainThread() {
    const bool absent = !KLFptmain(false) && !KLFptcurrent(false);
    const bool fallback = std::string(KLFptname("nobody")) == "nobody";
    const bool firstName = std::string(KLFptcreatemain(nullptr)->name()) == "PT-0";
    exit(absent + 2 * fallback + 4 * firstName);
}

TEST(ThreadDeathTest, MisuseBeforeTheMainThreadExistsIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(Idle().run(), testing::ExitedWithCode(statusOfMisuse),
                "^KLTpthreadBase::run\\(\\): Main thread does not exist!\r\n$");
    EXPECT_EXIT(KLFptmain(true), testing::ExitedWithCode(statusOfMisuse),
                "^KLFptmain\\(\\): Main thread doesn't exist!\r\n$");
    EXPECT_EXIT(KLFptcurrent(true), testing::ExitedWithCode(statusOfMisuse),
                "^KLFptcurrent\\(\\): Unknown thread!\r\n$");
    EXPECT_EXIT(expectNothingBeforeTheMainThread(), testing::ExitedWithCode(7), "");
}

} // namespace
