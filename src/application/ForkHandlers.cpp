#include "application/ForkHandlers.hpp"

#include "application/ApplicationImpl.hpp"
#include "application/RecordGate.hpp"
#include "application/TerminationSignals.hpp"

#include <optional>
#include <pthread.h>

namespace brindle {

namespace {

// From before the fork until after it, so that the child's first signal comes when its record is in order.
thread_local std::optional<TerminationSignalsBlocked> signalsBlocked;

// The mutex is not taken here: fork itself waits for malloc's locks, and a thread inside malloc may just have
// been interrupted by the handler, which waits for the mutex.
void beforeFork()
{
    signalsBlocked.emplace();
}

void afterForkInParent()
{
    signalsBlocked.reset();
}

void afterForkInChild()
{
    recordGate.forgetEverybody();
    const RecordGate::Pass pass(recordGate);
    if (pass) {
        const Application::ApplicationImpl& record = Application::ApplicationImpl::impl();
        pthread_mutex_init(record.mutex.get(), nullptr);
        record.condVar->forgetWaiters();
    }
    signalsBlocked.reset();
}

}

void registerForkHandlers()
{
    pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
}

}
