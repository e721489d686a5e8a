// The library calls the functions of this program in place of the system's. They let one thread take every part: what a test
// sets as onUnlock or onBlock happens at that moment of its wait().

#include "support/Comparisons.hpp"
#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"
#include "support/Stress.hpp"
#include "threads/FakeMutex.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <algorithm>
#include <cerrno>
#include <map>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;

namespace {

constexpr int RESET_ON_FORK = 0x40000000; // Linux's flag beside the policy, which not every libc names

struct Waiter {
    const char* name;
    int policy;
    int priority;
};

// Set by a test, for its own thread.
thread_local Waiter thisThread = {"", SCHED_OTHER, 0};
thread_local std::function<void()> onBlock;        // runs when sem_wait() would block; must release the waiter
thread_local std::vector<int> errnosOfFailedWaits; // each lets one sem_wait() fail

// Written by the interposed calls, with callTrace.
std::map<sem_t*, std::string> nameOfWaiter;
std::string releasedWaiters; // their names

}

int pthread_getschedparam(pthread_t, int* policy, sched_param* param) noexcept
{
    *policy = thisThread.policy;
    param->sched_priority = thisThread.priority;
    return 0;
}

int sem_wait(sem_t* semaphore)
{
    if (!errnosOfFailedWaits.empty()) {
        errno = errnosOfFailedWaits.back();
        errnosOfFailedWaits.pop_back();
        return -1;
    }
    if (!onBlock) { // a thread of the test with real threads
        return REAL_CALL(sem_wait)(semaphore);
    }
    if (sem_trywait(semaphore) != 0) {
        callTrace += "block ";
        nameOfWaiter[semaphore] = thisThread.name;
        std::exchange(onBlock, [] { ADD_FAILURE() << "wait() blocks a second time"; })();
        EXPECT_EQ(0, sem_trywait(semaphore)) << nameOfWaiter[semaphore] << " was not released and would block for ever";
    }
    return 0;
}

int sem_post(sem_t* semaphore) noexcept
{
    callTrace += "post ";
    releasedWaiters += nameOfWaiter[semaphore];
    return REAL_CALL(sem_post)(semaphore);
}

class CondVarTest : public testing::Test {
protected:
    // The names in the order of release. All wait on this thread: each arrives while the one before it blocks.
    std::string releaseOrder(const std::vector<Waiter>& arrivals)
    {
        releasedWaiters.clear();
        arrive(arrivals, 0);
        return releasedWaiters;
    }

    CondVar condVar;

private:
    void arrive(const std::vector<Waiter>& arrivals, std::size_t next)
    {
        if (next == arrivals.size()) {
            condVar.signal();
            condVar.broadcast(); // which releases all but the first
            return;
        }
        thisThread = arrivals[next];
        onBlock = [&, next] { arrive(arrivals, next + 1); };
        condVar.wait(&fakeMutex);
    }
};

TEST_F(CondVarTest, BlocksWithoutTheMutexAndReturnsWithIt)
{
    onBlock = [&] { condVar.signal(); };
    condVar.wait(&fakeMutex);
    EXPECT_EQ("unlock block post lock ", callTrace);
}

TEST_F(CondVarTest, RemembersASignalSentBetweenUnlockAndSleep)
{
    onUnlock = [&] { EXPECT_TRUE(condVar.signal()); };
    onBlock = [] { FAIL() << "wait() blocks although it was signalled"; };
    condVar.wait(&fakeMutex);
}

TEST_F(CondVarTest, BlocksAgainAfterAnInterruption)
{
    onUnlock = [] { errnosOfFailedWaits = {EINTR, EINVAL}; }; // uClibc-ng reports an interruption with a wrong errno
    onBlock = [&] { condVar.signal(); };
    condVar.wait(&fakeMutex);
    EXPECT_EQ("unlock block post lock ", callTrace);
}

TEST_F(CondVarTest, TellsTheSignallerWhetherAThreadWaited)
{
    EXPECT_FALSE(condVar.signal());
    EXPECT_FALSE(condVar.broadcast());
    onBlock = [&] {
        EXPECT_TRUE(condVar.signal());
        EXPECT_FALSE(condVar.signal());
    };
    condVar.wait(&fakeMutex);
    onBlock = [&] {
        EXPECT_TRUE(condVar.broadcast());
        EXPECT_FALSE(condVar.broadcast());
    };
    condVar.wait(&fakeMutex);
}

TEST_F(CondVarTest, NeitherQueuesNorUnlocksWithoutMemory)
{
    allocations::untilFailure = 1;
    EXPECT_THROW(condVar.wait(&fakeMutex), std::bad_alloc);
    EXPECT_EQ("", callTrace);
    EXPECT_FALSE(condVar.signal());
}

TEST_F(CondVarTest, ReleasesByPriorityInWhateverOrderTheThreadsArrive)
{
    std::vector<Waiter> arrivals = {
        {"A", SCHED_FIFO, 1}, {"B", SCHED_RR, 2}, {"C", SCHED_FIFO, 3}, {"D", SCHED_RR, 4}, {"E", SCHED_FIFO, 5}};
    const auto lower = [](const Waiter& left, const Waiter& right) { return left.priority < right.priority; };
    do {
        ASSERT_EQ("EDCBA", releaseOrder(arrivals));
    } while (std::next_permutation(arrivals.begin(), arrivals.end(), lower));
}

struct OrderCase {
    const char* shows;
    std::vector<Waiter> arrivals;
    const char* released;
};

const OrderCase ORDERS[] = {
    {"four equal waiters leave in the order of the heap",
     {{"A", SCHED_FIFO, 5}, {"B", SCHED_RR, 5}, {"C", SCHED_FIFO, 5}, {"D", SCHED_RR, 5}},
     "ACBD"},
    {"equal waiters among others",
     {{"A", SCHED_FIFO, 5}, {"B", SCHED_RR, 10}, {"C", SCHED_RR, 5}, {"D", SCHED_FIFO, 10}, {"E", SCHED_FIFO, 1}},
     "BDCAE"},
    {"under any other policy the priority counts as 0, and so does the nice value",
     {{"A", SCHED_OTHER, 99}, {"B", SCHED_BATCH, 99}, {"C", SCHED_IDLE, 99}, {"D", SCHED_FIFO, 0}},
     "ACBD"},
    {"a policy may come with the flag that resets it on fork",
     {{"A", SCHED_OTHER, 0}, {"B", SCHED_FIFO | RESET_ON_FORK, 1}, {"C", SCHED_RR | RESET_ON_FORK, 2}},
     "CBA"},
};

TEST_F(CondVarTest, ReleasesEqualWaitersInAFixedOrder)
{
    nice(1);
    for (const auto& [shows, arrivals, released] : ORDERS) {
        EXPECT_EQ(released, releaseOrder(arrivals)) << shows;
    }
}

TEST_F(CondVarTest, ComparesRecordsByPriorityAlone)
{
    thisThread = {"low", SCHED_RR, 1};
    const CondVar::WaitingCondition low;
    thisThread = {"high", SCHED_FIFO, 2};
    const CondVar::WaitingCondition high;
    const CondVar::WaitingCondition equal;
    EXPECT_EQ("< <= != ", comparisons(low, high));
    EXPECT_EQ("<= == >= ", comparisons(high, equal));
    EXPECT_EQ("!= >= > ", comparisons(high, low));
}

TEST(CondVarWithThreads, EndsOneWaitForEachSignal)
{
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    CondVar condVar;
    const unsigned waits = 50 * stressChildren(); // of each thread
    unsigned signalled = 0;
    unsigned returned = 0;
    unsigned returnedTooEarly = 0;
    const auto waitAgainAndAgain = [&] {
        const ScopedLock lock(&mutex);
        for (unsigned wait = 0; wait < waits; ++wait) {
            condVar.wait(&mutex);
            ++returned;
            returnedTooEarly += returned > signalled ? 1 : 0;
        }
    };
    std::thread threads[] = {std::thread(waitAgainAndAgain), std::thread(waitAgainAndAgain)};
    while (signalled < 2 * waits) {
        {
            const ScopedLock lock(&mutex);
            signalled += condVar.signal() ? 1 : 0;
        }
        std::this_thread::yield(); // or valgrind lets no waiter run
    }
    threads[0].join();
    threads[1].join();
    EXPECT_EQ(0U, returnedTooEarly);
}
