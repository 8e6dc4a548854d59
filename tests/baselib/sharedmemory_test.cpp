#include "baselib/thread/sharedmemory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

TEST(KLTsharedMemory, TwoObjectsShareOneZeroedBlockThatItsCreatorRemoves) {
    const int key = 0x4B340000 | (getpid() & 0xFFFF); // likely of no other process
    const auto exists = [key] { return shmget(key, 0, 0) >= 0; };
    for (const int refused : {0, -1})
        EXPECT_EQ(KLTsharedMemory(refused, 1000).memory(), nullptr);
    EXPECT_EQ(KLTsharedMemory(key, 0).memory(), nullptr);
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
        EXPECT_EQ(KLTsharedMemory(key, 1 << 20).memory(), nullptr) << "the block is too small";
        EXPECT_TRUE(exists()) << "a user does not remove it";
    }
    EXPECT_FALSE(exists());
}

} // namespace
