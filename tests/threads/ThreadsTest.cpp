#include "StandIns.hpp"
#include "threads/WaiterQueue.hpp"
#include "support/EverySequence.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <thread>
#include <unistd.h>

using namespace brindle::threads;

namespace {

pthread_mutex_t pretended;  // no call for this mutex reaches the system
thread_local int locks = 0; // how many mutexes this thread holds
CondVar condVar;
thread_local std::string seen; // of the calls that this thread has made: how many were queued, and who was posted
thread_local std::function<void()> meanwhile; // happens once, when this thread is about to block

constexpr int RESET = 0x40000000; // Linux's flag "reset on fork"
const std::pair<int, int> WAITERS[] = {
    {SCHED_RR, 20},  {SCHED_FIFO, 10},  {SCHED_RR, 10},    {SCHED_FIFO | RESET, 5}, {SCHED_RR | RESET, 5},
    {SCHED_FIFO, 1}, {SCHED_OTHER, 99}, {SCHED_BATCH, 99}, {SCHED_IDLE, 99},        {SCHED_FIFO, 0}};
char waiter = '0'; // who is about to wait: the index of a policy and a priority
thread_local std::map<sem_t*, char> waiters;

int note(const char* call)
{
    seen += call + std::to_string(brindle::threads::WaiterQueue::count(condVar)) + "; ";
    return 0;
}

// Each waits on this one thread, while the one before it is about to block; all are released when none is left.
std::string orderOfRelease(const std::string& arrivals)
{
    std::string order;
    if (arrivals.empty()) {
        seen.clear();
        EXPECT_TRUE(condVar.signal() && condVar.broadcast());
        EXPECT_FALSE(condVar.signal() || condVar.broadcast());
        return seen;
    }
    waiter = arrivals[0];
    meanwhile = [&] { order = orderOfRelease(arrivals.substr(1)); };
    condVar.wait(&pretended);
    return order;
}

}

// What the library calls in place of the system's.

int pthread_getschedparam(pthread_t, int* policy, sched_param* param) noexcept
{
    std::tie(*policy, param->sched_priority) = WAITERS[waiter - '0'];
    return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    ++locks;
    return mutex == &pretended ? note("lock ") : REAL_CALL(pthread_mutex_lock)(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    --locks;
    return mutex == &pretended ? note("unlock ") : REAL_CALL(pthread_mutex_unlock)(mutex);
}

// Interrupted twice before it waits, with whatever errno there is: some libcs report an interruption with a wrong one.
int sem_wait(sem_t* semaphore)
{
    static thread_local int calls = 0;
    note("wait ");
    if (++calls % 3 != 0) {
        return -1;
    }
    int tokens = 0;
    sem_getvalue(semaphore, &tokens);
    waiters[semaphore] = waiter;
    if (tokens == 0 && meanwhile) {
        std::exchange(meanwhile, nullptr)();
    }
    return REAL_CALL(sem_wait)(semaphore);
}

int sem_post(sem_t* semaphore) noexcept
{
    seen += waiters[semaphore];
    return REAL_CALL(sem_post)(semaphore);
}

TEST(CondVar, QueuesBeforeItGivesUpTheMutex)
{
    allocations::untilFailure = 1;
    EXPECT_THROW(condVar.wait(&pretended), std::bad_alloc);
    meanwhile = [] { EXPECT_TRUE(condVar.signal()); };
    condVar.wait(&pretended);
    EXPECT_EQ("wait 1; wait 1; wait 1; unlock 1; wait 1; wait 1; wait 1; 0lock 0; ", seen);
}

TEST(CondVar, ComparesRecordsByPriorityAlone)
{
    const CondVar::WaitingCondition high, other;
    waiter = '5';
    const CondVar::WaitingCondition low;
    EXPECT_TRUE(low < high && low <= high && low != high && !(low == high) && !(low > high) && !(low >= high));
    EXPECT_TRUE(high > low && high >= low && !(high < low) && !(high <= low));
    EXPECT_TRUE(high == other && high <= other && high >= other && !(high != other) && !(high < other) &&
                !(high > other));
}

TEST(CondVar, ReleasesByPriorityAndTiesInTheHeapsOwnOrder)
{
    nice(1); // which counts for nobody
    std::string arrivals = "01356";
    do {
        ASSERT_EQ("01356", orderOfRelease(arrivals));
    } while (std::next_permutation(arrivals.begin(), arrivals.end()));
    EXPECT_EQ("6798", orderOfRelease("6978"));   // A C B D
    EXPECT_EQ("12435", orderOfRelease("31425")); // B D C A E
}

TEST(CondVar, EndsOneWaitForEachReleaseWhateverInterruptsIt)
{
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    CondVar released;
    const unsigned rounds = 50 * stressChildren();
    unsigned returns = 0;
    const auto waitAgainAndAgain = [&] {
        for (unsigned round = 0; round < rounds; ++round) {
            const ScopedLock lock(&mutex);
            released.wait(&mutex);
            EXPECT_EQ(1, locks);
            ++returns;
        }
    };
    std::thread threads[] = {std::thread(waitAgainAndAgain), std::thread(waitAgainAndAgain)};
    for (unsigned left = 2 * rounds; left > 0; std::this_thread::yield()) { // or valgrind would let no waiter run
        const ScopedLock lock(&mutex);
        ASSERT_LE(returns, 2 * rounds - left);
        left -= released.signal() ? 1 : 0;
    }
    threads[0].join();
    threads[1].join();
}

// Sequences of relock() and unlock().
TEST(ScopedLock, HoldsTheMutexExactlyOnceWhateverIsCalled)
{
    forEverySequence(std::string("+-"), 5, [](const std::string& calls) {
        ScopedLock lock(&pretended);
        EXPECT_EQ(1, locks);
        for (const char call : calls) {
            call == '+' ? lock.relock() : lock.unlock();
            EXPECT_EQ(call == '+' ? 1 : 0, locks);
        }
    });
}
