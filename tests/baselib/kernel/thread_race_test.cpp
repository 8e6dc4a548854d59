// Threads of the running kernel, which begin while their creator goes on.

#include "baselib/thread/thread.h"

#include <gtest/gtest.h>
#include <sched.h>

namespace {

enum Way { cancel_itself, wait_for_itself, detach_itself };

struct GivesItselfUp : KLTpthreadBase {
    void threadFuncOwn() override {
        if (way == cancel_itself) cancel();
        if (way == wait_for_itself) waitend();
        went_on = detach() == 0;
    }
    Way way = detach_itself;
    bool went_on = false;
};

// At once, often before run() has returned to the creator: the thread's word must stand.
TEST(ThreadRace, ThreadsEndOrDetachThemselves) {
    KLFptcreatemain(nullptr);
    for (int round = 0; round < 6000; ++round) {
        GivesItselfUp thread;
        thread.way = static_cast<Way>(round % 3);
        ASSERT_EQ(thread.run(), 0);
        while (thread.way == detach_itself && !thread.finished())
            sched_yield();
        thread.waitend();
        ASSERT_EQ(thread.detach(), -1) << "the handle is left";
        ASSERT_TRUE(thread.finished());
        ASSERT_EQ(thread.went_on, thread.way == detach_itself);
    }
}

} // namespace
