// Threads of the running kernel, which begin while their creator goes on.

#include "baselib/thread/thread.h"

#include <gtest/gtest.h>

namespace {

class EndsItself : public KLTpthreadBase {
public:
    explicit EndsItself(bool by_cancel) : by_cancel_(by_cancel) {}
    void threadFuncOwn() override {
        by_cancel_ ? static_cast<void>(cancel()) : waitend();
        went_on = true;
    }

    bool went_on = false;

private:
    bool by_cancel_;
};

// At once, often before run() has returned to the creator.
TEST(ThreadRace, WaitendOrCancelOnItselfEndsTheThread) {
    KLFptcreatemain(nullptr);
    for (int round = 0; round < 5000; ++round) {
        EndsItself thread(round % 2);
        ASSERT_EQ(thread.run(), 0);
        thread.waitend();
        ASSERT_TRUE(thread.finished());
        ASSERT_FALSE(thread.went_on);
    }
}

} // namespace
