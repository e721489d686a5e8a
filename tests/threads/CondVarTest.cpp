#include "Allocations.hpp"
#include "RealCall.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <thread>
#include <unistd.h>
#include <vector>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;

namespace {

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows, and the CondVar of each test
std::map<sem_t*, int> waiterOf;
std::vector<int> released; // waiters in the order of the posts

thread_local int waiterNumber = 0;
thread_local std::optional<int> pretendedPriority;

}

// The calls that the library makes pass through here: a test chooses priorities and failures, and sees every post.
extern "C" {

int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept
{
    if (!pretendedPriority) {
        return REAL_CALL(pthread_getschedparam)(thread, policy, param);
    }
    *policy = SCHED_FIFO;
    param->sched_priority = *pretendedPriority;
    return 0;
}

int sem_init(sem_t* semaphore, int shared, unsigned value) noexcept
{
    if (allocations::untilFailure == 0) {
        waiterOf[semaphore] = waiterNumber;
    }
    return REAL_CALL(sem_init)(semaphore, shared, value);
}

int sem_post(sem_t* semaphore) noexcept
{
    released.push_back(waiterOf[semaphore]);
    return REAL_CALL(sem_post)(semaphore);
}
}

namespace {

constexpr int PRETENDED = -1;

struct Waiter {
    int priority;
    int policy = PRETENDED; // or the scheduling policy that the thread really gets
};

// Starts a thread that waits on the CondVar, and returns once it is queued after `number` others.
std::thread queue(const Waiter& waiter, int number, CondVar& condVar)
{
    std::thread thread([&condVar, number, waiter] {
        waiterNumber = number;
        if (waiter.policy == PRETENDED) {
            pretendedPriority = waiter.priority;
        } else {
            const sched_param param = {waiter.priority};
            EXPECT_EQ(0, pthread_setschedparam(pthread_self(), waiter.policy, &param));
        }
        const ScopedLock lock(&mutex);
        condVar.wait(&mutex);
    });
    while (true) {
        const ScopedLock lock(&mutex);
        if (condVar.waiting() > static_cast<std::size_t>(number)) {
            return thread;
        }
    }
}

// The waiters, by number, in the order in which `release` lets them go.
template <typename Release>
std::vector<int> orderOfRelease(const std::vector<Waiter>& waiters, Release release)
{
    CondVar condVar;
    std::vector<std::thread> threads;
    threads.reserve(waiters.size());
    for (const Waiter& waiter : waiters) {
        threads.push_back(queue(waiter, static_cast<int>(threads.size()), condVar));
    }
    {
        const ScopedLock lock(&mutex);
        released.clear();
        release(condVar);
        EXPECT_FALSE(condVar.signal() || condVar.broadcast());
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return released;
}

void signalEach(CondVar& condVar)
{
    for (std::size_t left = condVar.waiting(); left > 0; --left) {
        EXPECT_TRUE(condVar.signal());
    }
}

void broadcast(CondVar& condVar)
{
    EXPECT_TRUE(condVar.broadcast());
}

}

TEST(CondVar, ReleasesByPriorityInEveryOrderOfArrival)
{
    std::vector<int> waiters = {0, 1, 2, 3, 4}; // from the highest priority down
    int orders = 0;
    do {
        std::vector<Waiter> queued(waiters.size());
        for (std::size_t rank = 0; rank < waiters.size(); ++rank) {
            queued[static_cast<std::size_t>(waiters[rank])].priority = 50 - static_cast<int>(rank);
        }
        ASSERT_EQ(waiters, orderOfRelease(queued, signalEach));
        ASSERT_EQ(waiters, orderOfRelease(queued, broadcast));
        ++orders;
    } while (std::next_permutation(waiters.begin(), waiters.end()));
    EXPECT_EQ(120, orders);
}

TEST(CondVar, ReleasesTiesInTheHeapsOwnOrder)
{
    for (const auto release : {signalEach, broadcast}) {
        EXPECT_EQ((std::vector<int>{0, 2, 1, 3}), orderOfRelease({{7}, {7}, {7}, {7}}, release));           // A C B D
        EXPECT_EQ((std::vector<int>{1, 3, 2, 0, 4}), orderOfRelease({{5}, {10}, {5}, {10}, {1}}, release)); // B D C A E
    }
}

TEST(CondVar, ReleasesRealTimeThreadsFirst)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "real-time policies are for root";
    }
    EXPECT_EQ((std::vector<int>{2, 1, 0}),
              orderOfRelease({{0, SCHED_OTHER}, {10, SCHED_FIFO}, {20, SCHED_RR}}, broadcast));
}

TEST(CondVar, LeavesTheQueueAndTheMutexAloneWhenMemoryRunsOut)
{
    CondVar condVar;
    const ScopedLock lock(&mutex);
    allocations::untilFailure = 1;
    EXPECT_THROW(condVar.wait(&mutex), std::bad_alloc);
    EXPECT_EQ(EBUSY, pthread_mutex_trylock(&mutex));
    EXPECT_FALSE(condVar.signal());
}
