#include "application/ApplicationImpl.hpp"
#include "application/LoopQueue.hpp"
#include "application/RecordGate.hpp"
#include "application/TerminationSignals.hpp"

#include <brindle/threads/ScopedLock.hpp>

#include <unistd.h>

namespace brindle {

namespace {

[[noreturn]] void waitForTheEndOfTheProcess()
{
    while (true) {
        pause();
    }
}

}

std::atomic<int> Application::HasApplicationTerminated = 0;

Application& Application::app()
{
    static Application application;
    return application;
}

Application::Application() : appImpl(ApplicationImpl::impl()) {}

Application::~Application() = default;

// The steps of CondVar::wait(), with the signals blocked whenever the mutex is held, and only then.
int Application::runEventLoop()
{
    const RecordGate::Pass pass(recordGate);
    if (!pass) {
        waitForTheEndOfTheProcess();
    }
    threads::CondVar::WaitingCondition self; // before the mutex: the system, asked for the priority, may take a lock
    TerminationSignalsBlocked blocked;
    threads::ScopedLock lock(appImpl.mutex.get());
    LoopQueue::add(*appImpl.condVar, self);
    lock.unlock();
    blocked.unblock(); // a signal that has come meanwhile runs its handler here, and finds the loop queued
    self.wait();
    blocked.block();
    lock.relock();
    return appImpl.exitCode;
}

}
