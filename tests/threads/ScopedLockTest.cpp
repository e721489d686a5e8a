#include <brindle/threads/ScopedLock.hpp>

#include <gtest/gtest.h>
#include <memory>
#include <thread>

using brindle::threads::ScopedLock;

namespace {

// A recursive mutex shows both faults: one lock too many leaves it held, one unlock too many frees it early.
class RecursiveMutex {
public:
    RecursiveMutex()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }

    bool isFree()
    {
        bool locked = false;
        std::thread([&] {
            locked = pthread_mutex_trylock(&mutex) == 0;
            if (locked) {
                pthread_mutex_unlock(&mutex);
            }
        }).join();
        return locked;
    }

    pthread_mutex_t mutex;
};

}

// Every sequence of up to five unlock() and relock() calls, with the mutex otherwise free and otherwise held.
TEST(ScopedLock, HoldsTheMutexExactlyOnceWhateverIsCalled)
{
    for (const bool heldOutside : {false, true}) {
        for (unsigned script = 0; script < (1U << 5); ++script) {
            SCOPED_TRACE(testing::Message() << "script " << script << ", held outside: " << heldOutside);
            RecursiveMutex shared;
            const auto outer = heldOutside ? std::make_unique<ScopedLock>(&shared.mutex) : nullptr;
            {
                ScopedLock lock(&shared.mutex);
                ASSERT_FALSE(shared.isFree());
                for (unsigned step = 0; step < 5; ++step) {
                    const bool relock = (script >> step & 1U) != 0;
                    relock ? lock.relock() : lock.unlock();
                    ASSERT_EQ(!relock && !heldOutside, shared.isFree());
                }
            }
            ASSERT_EQ(!heldOutside, shared.isFree());
        }
    }
}
