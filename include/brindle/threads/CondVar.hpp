#pragma once

#include <brindle/Export.hpp>

#include <pthread.h>
#include <semaphore.h>
#include <vector>

namespace brindle::threads {

/// A condition variable that wakes the waiter of the highest real-time priority first, and tells the signaller
/// whether anybody was waiting.
///
/// Every waiter blocks on a semaphore of its own, so a wake-up is aimed at one thread: wait() returns only
/// when signal() or broadcast() has released this very call. There are no spurious wake-ups. A signal() that
/// finds nobody is lost; it tells its caller so.
///
/// - Threads: any number. There is no lock inside: all threads that use one CondVar use one mutex with it, and
///   hold it in every call.
/// - Order: by the priority that a thread has under `SCHED_FIFO` or `SCHED_RR` when its wait() begins; every
///   other policy counts as 0, whatever the nice value, and a later change does not move a waiter. What
///   `pthread_getschedparam` tells is what counts: set it by thread attributes or `pthread_setschedparam`, for
///   glibc does not see what `sched_setscheduler` or another process changes once it knows a thread's policy.
///   Among equal priorities the order is fixed, on every machine, but not that of arrival: four equal waiters A,
///   B, C, D leave as A, C, B, D.
///   No fairness among equals is promised, nor any order in which released threads get the mutex back.
/// - Blocking: wait() only, without limit. Interruptions by signal handlers do not end it.
/// - Errors: none are reported; `std::bad_alloc` from wait() leaves the caller unqueued and the mutex locked.
/// - Signals: not for signal handlers: the code that one interrupts may hold the mutex. signal() and broadcast() neither
///   allocate nor wait.
/// - Fork: the child leaves a CondVar alone on which threads of its parent wait: they do not exist there.
/// - Lifetime: the CondVar outlives every thread that waits on it; its destructor wakes nobody. A thread must
///   not be cancelled (`pthread_cancel`) while it waits.
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
class BRINDLE_EXPORT CondVar {
public:
    /// One waiting thread: its priority and the semaphore that it blocks on. Lives as long as its wait().
    class WaitingCondition {
    public:
        /// Takes the calling thread's priority, and a semaphore whose first wait() returns at once.
        WaitingCondition();
        WaitingCondition(const WaitingCondition&) = delete;
        WaitingCondition& operator=(const WaitingCondition&) = delete;
        ~WaitingCondition();

        /// Adds one to the semaphore; the waiter, if it blocks, goes on.
        void post();

        /// Takes one from the semaphore; blocks while there is none and returns only with it.
        void wait();

        /// @{
        /// Records compare by priority alone: different threads of one priority are equal.
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

    /// Orders pointers to records by priority; as the less-than of a heap it puts the highest in front.
    struct WaitCondComparison {
        /// Whether @p a has less than @p b.
        bool operator()(const WaitingCondition* a, const WaitingCondition* b) const { return *a < *b; }
    };

    CondVar();
    CondVar(const CondVar&) = delete;
    CondVar& operator=(const CondVar&) = delete;
    ~CondVar();

    /// Queues the caller, gives @p mutex up, blocks until released, and takes @p mutex again.
    void wait(pthread_mutex_t* mutex);

    /// Releases the waiter of the highest priority. True if there was one, which then returns from wait()
    /// once it gets the mutex; false if nobody waited, and then nothing has changed.
    bool signal();

    /// Releases every waiter, in the order in which as many calls of signal() would. True if there was one.
    bool broadcast();

private:
    friend class WaiterQueue; // of the library, for its event loop

    BRINDLE_INTERNAL void enqueue(WaitingCondition& self);
    BRINDLE_INTERNAL void releaseFirst();

    std::vector<WaitingCondition*> waiters; // a heap; the records belong to the threads that wait
};

}
