#include <brindle/threads/ScopedLock.hpp>

#include <future>
#include <gtest/gtest.h>
#include <memory>

using brindle::threads::ScopedLock;

namespace {

bool isFree(pthread_mutex_t& mutex)
{
    const auto locksAndUnlocks = [&] {
        return pthread_mutex_trylock(&mutex) == 0 && pthread_mutex_unlock(&mutex) == 0;
    };
    return std::async(std::launch::async, locksAndUnlocks).get();
}

}

// A recursive mutex shows both faults: one lock too many leaves it held, one unlock too many frees it early.
// Every sequence of up to five unlock() and relock() calls, with the mutex otherwise free and otherwise held.
TEST(ScopedLock, HoldsTheMutexExactlyOnceWhateverIsCalled)
{
    for (const bool heldOutside : {false, true}) {
        for (unsigned script = 0; script < (1U << 5); ++script) {
            SCOPED_TRACE(testing::Message() << "script " << script << ", held outside: " << heldOutside);
            pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
            const auto outer = heldOutside ? std::make_unique<ScopedLock>(&mutex) : nullptr;
            {
                ScopedLock lock(&mutex);
                ASSERT_FALSE(isFree(mutex));
                for (unsigned step = 0; step < 5; ++step) {
                    const bool relock = (script >> step & 1U) != 0;
                    relock ? lock.relock() : lock.unlock();
                    ASSERT_EQ(!relock && !heldOutside, isFree(mutex));
                }
            }
            ASSERT_EQ(!heldOutside, isFree(mutex));
        }
    }
}
