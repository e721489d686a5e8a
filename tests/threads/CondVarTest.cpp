// The library calls the functions of this program in place of the system's, so one thread takes every part: what a test sets
// as onUnlock or onBlock happens at that moment of its wait().

#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"
#include "support/Stress.hpp"
#include "threads/FakeMutex.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <thread>

using namespace brindle::threads;

namespace {

struct Waiter {
    std::string name;
    int policy;
    int priority;
};

// Set by a test, for its own thread.
thread_local Waiter thisThread = {"", SCHED_OTHER, 0};
thread_local std::function<void()> onBlock; // when sem_wait() would block

// Written by the interposed calls, with callTrace.
std::map<sem_t*, std::string> nameOfWaiter;
std::string releasedWaiters;

}

int pthread_getschedparam(pthread_t, int* policy, sched_param* param) noexcept
{
    *policy = thisThread.policy;
    param->sched_priority = thisThread.priority;
    return 0;
}

int sem_wait(sem_t* semaphore)
{
    static thread_local int calls = 0;
    ++calls;
    if (calls % 3 != 0) { // two interruptions come first
        errno = EINVAL;   // which uClibc-ng sets where it should set EINTR
        return -1;
    }
    if (!onBlock) {
        return REAL_CALL(sem_wait)(semaphore);
    }
    if (sem_trywait(semaphore) != 0) {
        callTrace += "block ";
        nameOfWaiter[semaphore] = thisThread.name;
        const std::function<void()> happen = onBlock; // which may set another one
        happen();
        EXPECT_EQ(0, sem_trywait(semaphore)) << "wait() would block for ever";
    }
    return 0;
}

int sem_post(sem_t* semaphore) noexcept
{
    callTrace += "post ";
    releasedWaiters += nameOfWaiter[semaphore];
    return REAL_CALL(sem_post)(semaphore);
}

TEST(CondVar, BlocksWithoutTheMutexWhateverInterruptsIt)
{
    CondVar condVar;
    onBlock = [&] { condVar.signal(); };
    condVar.wait(&fakeMutex);
    EXPECT_EQ("unlock block post lock ", callTrace);
}

TEST(CondVar, RemembersASignalSentBetweenUnlockAndSleep)
{
    CondVar condVar;
    onUnlock = [&] { EXPECT_TRUE(condVar.signal()); };
    onBlock = [] { FAIL() << "wait() blocks although it was signalled"; };
    condVar.wait(&fakeMutex);
}

TEST(CondVar, NeitherQueuesNorUnlocksWithoutMemory)
{
    CondVar condVar;
    allocations::untilFailure = 1;
    EXPECT_THROW(condVar.wait(&fakeMutex), std::bad_alloc);
    EXPECT_EQ("", callTrace);
    EXPECT_FALSE(condVar.signal());
}

// Each arrives while the one before it blocks. When all have arrived, the first is released by signal().
static void arriveAndLeave(CondVar& condVar, std::vector<Waiter> arrivals)
{
    if (arrivals.empty()) {
        EXPECT_TRUE(condVar.signal() && condVar.broadcast()) << "there are waiters";
        EXPECT_FALSE(condVar.signal() || condVar.broadcast()) << "there are none any more";
        return;
    }
    thisThread = arrivals.front();
    arrivals.erase(arrivals.begin());
    onBlock = [&] { arriveAndLeave(condVar, arrivals); };
    condVar.wait(&fakeMutex);
}

static std::string releaseOrder(const std::vector<Waiter>& arrivals)
{
    CondVar condVar;
    releasedWaiters.clear();
    arriveAndLeave(condVar, arrivals);
    return releasedWaiters;
}

TEST(CondVar, ReleasesByPriorityAndEqualWaitersInAFixedOrder)
{
    EXPECT_EQ("ACBD", releaseOrder({{"A", SCHED_RR, 5}, {"B", SCHED_RR, 5}, {"C", SCHED_RR, 5}, {"D", SCHED_RR, 5}}));
    EXPECT_EQ("BDCAE", releaseOrder({{"A", SCHED_RR, 5},
                                     {"B", SCHED_RR, 10},
                                     {"C", SCHED_FIFO, 5},
                                     {"D", SCHED_FIFO, 10},
                                     {"E", SCHED_FIFO, 1}}));
}

TEST(CondVar, CountsOnlyRealTimePriorities)
{
    constexpr int RESET_ON_FORK = 0x40000000; // Linux's flag beside the policy, which not every libc names
    EXPECT_EQ("BAC", releaseOrder({{"A", SCHED_OTHER, 9}, {"B", SCHED_RR | RESET_ON_FORK, 1}, {"C", SCHED_BATCH, 99}}));
    const CondVar::WaitingCondition zero;
    thisThread = {"", SCHED_FIFO, 1};
    const CondVar::WaitingCondition one;
    EXPECT_TRUE(zero < one && zero <= one && zero != one && !(zero == one) && one > zero && one >= zero);
    EXPECT_TRUE(CondVar::WaitCondComparison()(&zero, &one));
}

TEST(CondVar, EndsOneWaitForEachSignalOfAnotherThread)
{
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    CondVar condVar;
    const unsigned rounds = 100 * stressChildren();
    unsigned returned = 0;
    std::thread waiter([&] {
        const ScopedLock lock(&mutex);
        for (; returned < rounds; ++returned) {
            condVar.wait(&mutex);
        }
    });
    for (unsigned signalled = 0; signalled < rounds; std::this_thread::yield()) { // valgrind needs the yield
        const ScopedLock lock(&mutex);
        EXPECT_LE(returned, signalled);
        signalled += condVar.signal() ? 1 : 0;
    }
    waiter.join();
}
