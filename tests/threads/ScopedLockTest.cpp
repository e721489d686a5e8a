#include "threads/FakeMutex.hpp"

#include <brindle/threads/ScopedLock.hpp>

#include <gtest/gtest.h>

using brindle::threads::ScopedLock;

TEST(ScopedLock, HoldsTheMutexUntilTheEndOfItsScope)
{
    {
        const ScopedLock lock(&fakeMutex);
        EXPECT_EQ("lock ", callTrace);
    }
    EXPECT_EQ("lock unlock ", callTrace);
}

TEST(ScopedLock, NeverLocksOrUnlocksTwiceInARow)
{
    {
        ScopedLock lock(&fakeMutex);
        lock.relock();
        lock.unlock();
        lock.unlock();
        lock.relock();
        lock.relock();
        lock.unlock();
    }
    EXPECT_EQ("lock unlock lock unlock ", callTrace);
}
