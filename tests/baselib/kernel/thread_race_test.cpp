// Threads of the running kernel, which begin while their creator goes on.

#include "baselib/thread/thread.h"

#include <gtest/gtest.h>

namespace {

struct EndsItself : KLTpthreadBase {
    void threadFuncOwn() override {
        by_cancel ? static_cast<void>(cancel()) : waitend();
        went_on = true;
    }
    bool by_cancel = false;
    bool went_on = false;
};

// At once, often before run() has returned to the creator.
TEST(ThreadRace, WaitendOrCancelOnItselfEndsTheThread) {
    KLFptcreatemain(nullptr);
    for (int round = 0; round < 5000; ++round) {
        EndsItself thread;
        thread.by_cancel = round % 2 != 0;
        ASSERT_EQ(thread.run(), 0);
        thread.waitend();
        ASSERT_TRUE(thread.finished());
        ASSERT_FALSE(thread.went_on);
    }
}

} // namespace
