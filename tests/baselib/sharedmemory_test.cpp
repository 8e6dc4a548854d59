#include "baselib/thread/sharedmemory.h"

#include <algorithm>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

// A key that no other process is likely to use.
int testKey() { return 0x4B340000 | (getpid() & 0xFFFF); }

bool exists(int key) { return shmget(key, 0, 0) >= 0; }

} // namespace

TEST(KLTsharedMemory, TwoObjectsShareOneZeroedBlock) {
    const int key = testKey();
    {
        KLTsharedMemory creator(key, 1000);
        ASSERT_NE(creator.memory(), nullptr);
        auto* const first = static_cast<unsigned char*>(creator.memory());
        EXPECT_EQ(std::count(first, first + 1000, 0), 1000);
        {
            KLTsharedMemory user(key, 1000);
            ASSERT_NE(user.memory(), nullptr);
            EXPECT_NE(user.memory(), creator.memory());
            first[999] = 77;
            EXPECT_EQ(static_cast<unsigned char*>(user.memory())[999], 77);
        }
        EXPECT_TRUE(exists(key)) << "a user does not remove the block";
    }
    EXPECT_FALSE(exists(key)) << "its creator does";
}

TEST(KLTsharedMemory, YieldsNothingWhereNothingCanBeHad) {
    const int key = testKey();
    EXPECT_EQ(KLTsharedMemory(0, 1000).memory(), nullptr);
    EXPECT_EQ(KLTsharedMemory(-1, 1000).memory(), nullptr);
    EXPECT_EQ(KLTsharedMemory(key, 0).memory(), nullptr);
    const KLTsharedMemory small(key, 1000);
    ASSERT_NE(small.memory(), nullptr);
    EXPECT_EQ(KLTsharedMemory(key, 1 << 20).memory(), nullptr) << "the block there is too small";
    EXPECT_TRUE(exists(key));
}
