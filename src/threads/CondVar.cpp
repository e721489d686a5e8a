#include <brindle/threads/CondVar.hpp>

#include <cstddef>
#include <sched.h>

namespace brindle::threads {

namespace {

// Linux's SCHED_RESET_ON_FORK, a flag that the system adds to the policy. Not every libc declares it.
constexpr int RESET_ON_FORK = 0x40000000;

int priorityOfThisThread()
{
    int policy = SCHED_OTHER;
    sched_param param = {};
    pthread_getschedparam(pthread_self(), &policy, &param);
    policy &= ~RESET_ON_FORK;
    const bool realTime = policy == SCHED_FIFO || policy == SCHED_RR;
    return realTime ? param.sched_priority : 0;
}

// The library has a heap rather than the standard library's, so that equal waiters leave in the same order
// everywhere. The children of position i are at 2i + 1 and 2i + 2. No child has a higher priority than its parent.
using Heap = std::vector<CondVar::WaitingCondition*>;

// Stores the waiter at the hole, or above it: the waiter passes a parent only if the parent's priority is lower.
void storeAtOrAbove(Heap& heap, std::size_t hole, CondVar::WaitingCondition* waiter)
{
    while (hole > 0) {
        const std::size_t parent = (hole - 1) / 2;
        if (!(*heap[parent] < *waiter)) {
            break;
        }
        heap[hole] = heap[parent];
        hole = parent;
    }
    heap[hole] = waiter;
}

// Moves the hole from the front down to a position that has no child among the first `size`. Each step moves the
// child of higher priority up; of equal children, the right one.
std::size_t moveHoleDown(Heap& heap, std::size_t size)
{
    std::size_t hole = 0;
    while (2 * hole + 1 < size) {
        const std::size_t left = 2 * hole + 1;
        const std::size_t right = left + 1;
        const bool takesRight = right < size && !(*heap[right] < *heap[left]);
        const std::size_t child = takesRight ? right : left;
        heap[hole] = heap[child];
        hole = child;
    }
    return hole;
}

}

CondVar::WaitingCondition::WaitingCondition() : priority(priorityOfThisThread())
{
    sem_init(&semaphore, 0, 1);
}

CondVar::WaitingCondition::~WaitingCondition()
{
    sem_destroy(&semaphore);
}

void CondVar::WaitingCondition::post()
{
    sem_post(&semaphore);
}

void CondVar::WaitingCondition::wait()
{
    // Retries after every failure, not after EINTR alone: some libcs report other errors, or a wrong errno. A return
    // without the token would leave a pointer to this record in the heap after the record is destroyed.
    while (sem_wait(&semaphore) != 0) {
    }
}

CondVar::CondVar() = default;
CondVar::~CondVar() = default;

// No wake-up is lost: wait() queues its record before it unlocks the mutex, so the next holder finds the record. A post
// that comes before the waiter blocks leaves a token in the semaphore.
// No record is used after its destruction: signal() uses it only with the mutex held, and wait() returns only after it
// has locked the mutex again.

void CondVar::wait(pthread_mutex_t* mutex)
{
    WaitingCondition self;
    enqueue(self);
    pthread_mutex_unlock(mutex);
    self.wait();
    pthread_mutex_lock(mutex);
}

void CondVar::enqueue(WaitingCondition& self)
{
    waiters.push_back(&self);
    storeAtOrAbove(waiters, waiters.size() - 1, &self);
    self.wait(); // takes the token that the semaphore starts with, so the next wait() blocks
}

bool CondVar::signal()
{
    if (waiters.empty()) {
        return false;
    }
    releaseFirst();
    return true;
}

void CondVar::releaseFirst()
{
    waiters.front()->post();
    WaitingCondition* const last = waiters.back();
    waiters.pop_back();
    if (!waiters.empty()) {
        storeAtOrAbove(waiters, moveHoleDown(waiters, waiters.size()), last);
    }
}

bool CondVar::broadcast()
{
    const bool found = !waiters.empty();
    while (signal()) {
    }
    return found;
}

}
