#include "threads/FakeMutex.hpp"

#include <brindle/threads/ScopedLock.hpp>

#include <gtest/gtest.h>

TEST(ScopedLock, NeverLocksOrUnlocksTwiceAndUnlocksAtTheEnd)
{
    {
        brindle::threads::ScopedLock lock(&fakeMutex);
        lock.relock();
        lock.unlock();
        lock.unlock();
        lock.relock();
        EXPECT_EQ("lock unlock lock ", callTrace);
    }
    EXPECT_EQ("lock unlock lock unlock ", callTrace);
}
