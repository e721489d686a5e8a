#include "application/ApplicationImpl.hpp"
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

int Application::runEventLoop()
{
    const RecordGate::Pass pass(recordGate);
    if (!pass) {
        waitForTheEndOfTheProcess();
    }
    threads::CondVar::WaitingCondition self;
    const TerminationSignalsBlocked blocked;
    const threads::ScopedLock lock(appImpl.mutex.get());
    appImpl.condVar->wait(appImpl.mutex.get(), blocked.previousMask(), self);
    return appImpl.exitCode;
}

}
