#include "application/ForkHandlers.hpp"

#include "application/ApplicationImpl.hpp"
#include "application/LoopQueue.hpp"
#include "application/RecordGate.hpp"
#include "application/SignalMask.hpp"

#include <pthread.h>

namespace brindle {

namespace {

// SIGINT and SIGTERM are blocked across the fork, so that the child's first one comes when its record is in order.
thread_local sigset_t maskOutsideTheFork;

// The mutex is not taken here: fork itself waits for malloc's locks, and a thread inside malloc may just have
// been interrupted by the handler, which waits for the mutex.
void beforeFork()
{
    blockSignals(terminationSignals(), &maskOutsideTheFork);
}

void afterForkInParent()
{
    unblockSignals(terminationSignals(), maskOutsideTheFork);
}

void afterForkInChild()
{
    recordGate.forgetEverybody();
    const RecordGate::Pass pass(recordGate);
    if (pass) {
        const Application::ApplicationImpl& record = Application::ApplicationImpl::impl();
        pthread_mutex_init(record.mutex.get(), nullptr);
        LoopQueue::forgetWaiters(*record.condVar);
    }
    unblockSignals(terminationSignals(), maskOutsideTheFork);
}

}

void registerForkHandlers()
{
    // Once: a second beforeFork() would save the mask that the first has made. It can only fail for want of memory; a
    // program that does not fork then misses nothing.
    static bool registered = false;
    if (!registered) {
        registered = pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;
    }
}

}
