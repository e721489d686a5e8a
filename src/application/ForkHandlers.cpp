#include "application/ForkHandlers.hpp"

#include "application/ApplicationImpl.hpp"
#include "application/CountingGate.hpp"
#include "application/SignalMask.hpp"
#include "threads/WaiterQueue.hpp"

#include <pthread.h>

namespace brindle {

namespace {

// SIGINT and SIGTERM are blocked across the fork, so the child takes its first one when its record is in order.
thread_local sigset_t maskOutsideTheFork;

// The mutex is not locked here. fork() waits for malloc's locks, and a thread inside malloc may just have been
// interrupted by the handler, which waits for the mutex.
void beforeFork()
{
    blockSignals(terminationSignals(), &maskOutsideTheFork);
}

void afterForkInParent()
{
    unblockSignals(terminationSignals(), maskOutsideTheFork);
}

// Uses the record without the mutex, since the child has one thread.
void afterForkInChild() BRINDLE_CHECKED_BY_CLANG(no_thread_safety_analysis)
{
    recordGate.forgetUsers();
    const CountingGate::Pass pass(recordGate);
    if (pass) {
        const Application::ApplicationImpl& record = Application::ApplicationImpl::impl();
        pthread_mutex_init(record.mutex.get(), nullptr);
        threads::WaiterQueue::clear(*record.condVar);
    }
    unblockSignals(terminationSignals(), maskOutsideTheFork);
}

}

void registerForkHandlers()
{
    // Once only: a second beforeFork() would save the mask that the first one has changed. The registration fails only
    // without memory. Then a later init() tries again, and the child of a fork cannot be ended.
    static bool registered = false;
    if (!registered) {
        registered = pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;
    }
}

}
