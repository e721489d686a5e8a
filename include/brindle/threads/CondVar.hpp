#pragma once

#include <brindle/Export.hpp>

#include <pthread.h>
#include <semaphore.h>
#include <vector>

namespace brindle::threads {

/// A condition variable that wakes the waiter of the highest real-time priority first, and tells the signaller whether
/// a thread was waiting.
///
/// @code
/// // The waiting thread
/// ScopedLock lock(&mutex);
/// while (jobs.empty()) {
///     arrival.wait(&mutex);
/// }
/// const Job next = jobs.back();
/// jobs.pop_back();
/// lock.unlock();
/// run(next);                                  // without the mutex
/// @endcode
/// @code
/// // The signalling thread
/// const ScopedLock lock(&mutex);
/// jobs.push_back(job);
/// if (!arrival.signal()) {
///     ++unattended;                           // all workers are busy
/// }
/// @endcode
///
/// - Threads: any number. All threads that use one CondVar use one mutex with it, and hold that mutex in every call.
/// - Blocking: only wait() blocks, without limit. There are no spurious wake-ups.
/// - Order: by the priority under `SCHED_FIFO` or `SCHED_RR` when wait() begins; every other policy counts as 0. Equal
///   priorities leave in a fixed order, which is not that of arrival: docs/guides/threads-and-priorities.md.
/// - Errors: none are reported. A `std::bad_alloc` from wait() leaves the caller unqueued and the mutex locked.
/// - Signals: not for signal handlers, because the interrupted code may hold the mutex. signal() and broadcast()
///   neither allocate nor block.
/// - Fork: after `fork`, the child must not use a CondVar that had waiters: those threads do not exist in the child.
/// - Lifetime: the CondVar must outlive every thread that waits on it; its destructor wakes none. A thread must not be
///   cancelled while it waits.
class BRINDLE_EXPORT CondVar {
public:
    /// One waiting thread: its priority, and the semaphore that it blocks on. Exists during one CondVar::wait().
    class WaitingCondition {
    public:
        /// Reads the calling thread's priority, and makes a semaphore whose first wait() returns at once.
        WaitingCondition();
        WaitingCondition(const WaitingCondition&) = delete;
        WaitingCondition& operator=(const WaitingCondition&) = delete;
        ~WaitingCondition();

        /// Adds one to the semaphore: a waiter that blocks goes on.
        void post();

        /// Takes one from the semaphore, and blocks until there is one. Signal handlers do not end the wait.
        void wait();

        /// @{
        /// Compare the priorities alone: different threads of the same priority are equal.
        bool operator==(const WaitingCondition& other) const { return priority == other.priority; }
        bool operator!=(const WaitingCondition& other) const { return priority != other.priority; }
        bool operator<(const WaitingCondition& other) const { return priority < other.priority; }
        bool operator>(const WaitingCondition& other) const { return priority > other.priority; }
        bool operator<=(const WaitingCondition& other) const { return priority <= other.priority; }
        bool operator>=(const WaitingCondition& other) const { return priority >= other.priority; }
        /// @}

    private:
        int priority;
        sem_t semaphore;
    };

    /// Orders pointers to records by priority. As the less-than of a heap it puts the highest priority in front.
    struct WaitCondComparison {
        /// Whether the priority of @p a is lower than that of @p b.
        bool operator()(const WaitingCondition* a, const WaitingCondition* b) const { return *a < *b; }
    };

    CondVar();
    CondVar(const CondVar&) = delete;
    CondVar& operator=(const CondVar&) = delete;
    ~CondVar();

    /// Queues the caller, unlocks @p mutex, blocks until signal() or broadcast() has released this very call, and locks
    /// @p mutex again. Signal handlers do not end the wait.
    void wait(pthread_mutex_t* mutex);

    /// Releases the waiter of the highest priority, which returns from wait() once it gets the mutex.
    ///
    /// @return true if a thread was waiting. False otherwise: nothing has changed, and no later wait() sees this
    ///         signal.
    bool signal();

    /// Releases every waiter, in the order in which as many calls of signal() would.
    ///
    /// @return true if a thread was waiting.
    bool broadcast();

private:
    friend class WaiterQueue; // of the library, for its event loop

    BRINDLE_INTERNAL void enqueue(WaitingCondition& self);
    BRINDLE_INTERNAL void releaseFirst();

    std::vector<WaitingCondition*> waiters; // a heap; each record belongs to its waiting thread
};

}
