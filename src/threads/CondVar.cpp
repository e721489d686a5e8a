#include <brindle/threads/CondVar.hpp>

#include <algorithm>
#include <sched.h>

namespace brindle::threads {

namespace {

// Linux's SCHED_RESET_ON_FORK, which not every libc names: a flag that comes with the policy, but is none.
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
    // Any failure is waited out, not EINTR alone: some libcs report others, or a wrong errno, and to return
    // without the token would leave the record in the heap after its frame is gone.
    while (sem_wait(&semaphore) != 0) {
    }
}

CondVar::CondVar() = default;
CondVar::~CondVar() = default;

// No wake-up is lost: the record is in the heap before the mutex is given up, so whoever holds the mutex next
// finds it, and a post that comes before the waiter blocks leaves a token for it. No record is used after its
// end: a releaser touches it only with the mutex, and the waiter returns only after taking the mutex again.

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
    std::push_heap(waiters.begin(), waiters.end(), WaitCondComparison());
    self.wait(); // the token that the semaphore was made with: the next wait() blocks
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
    std::pop_heap(waiters.begin(), waiters.end(), WaitCondComparison());
    waiters.pop_back();
}

bool CondVar::broadcast()
{
    const bool anybody = !waiters.empty();
    while (signal()) {
    }
    return anybody;
}

}
