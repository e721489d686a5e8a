#include "application/ApplicationImpl.hpp"
#include "application/Diagnostics.hpp"
#include "application/RecordGate.hpp"
#include "application/TerminationSignals.hpp"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <pthread.h>

namespace brindle {

namespace {

constexpr int EXIT_ATTEMPTS = 100;
constexpr long ATTEMPT_INTERVAL_NS = 200'000'000;
constexpr int SIGNAL_EXIT_CODE_BASE = 130;

// Until a point in time: the rest of a relative sleep grows a little with every interruption, and under a
// rain of signals it would never end.
void sleepForAnAttemptInterval()
{
    constexpr long SECOND_NS = 1'000'000'000;
    timespec wakeUp = {};
    clock_gettime(CLOCK_MONOTONIC, &wakeUp);
    wakeUp.tv_nsec += ATTEMPT_INTERVAL_NS;
    if (wakeUp.tv_nsec >= SECOND_NS) {
        wakeUp.tv_nsec -= SECOND_NS;
        ++wakeUp.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wakeUp, nullptr) == EINTR) {
    }
}

}

void Application::exit(int code)
{
    for (int attempt = 0; attempt < EXIT_ATTEMPTS; ++attempt) {
        if (ApplicationImpl::tryExit(code)) {
            return;
        }
        sleepForAnAttemptInterval(); // outside the gate, or the end of the process would wait for this sleep
    }
    complain("Tried to exit cleanly, but we could never exit the event loop. "
             "Please speak to the maintainer. Force exit!");
    std::exit(EXIT_FAILURE);
}

bool Application::ApplicationImpl::tryExit(int code)
{
    const TerminationSignalsBlocked blocked;
    const RecordGate::Pass pass(recordGate);
    if (!pass) {
        return true;
    }
    ApplicationImpl& record = impl();
    pthread_mutex_lock(record.mutex.get());
    record.exitCode = code;
    const bool released = record.condVar->signal();
    pthread_mutex_unlock(record.mutex.get());
    return released;
}

// Whatever thread this interrupts does not hold the mutex, and whoever does hold it runs on and lets it go:
// so the lock is always granted. The loop queues itself before it gives the mutex up, so a signal that comes
// while the loop waits finds it. Nothing here allocates or prints.
void Application::ApplicationImpl::application_exit_signal(int signum)
{
    const int interruptedErrno = errno;
    {
        const TerminationSignalsBlocked blocked;
        const RecordGate::Pass pass(recordGate);
        if (pass) {
            ApplicationImpl& record = impl();
            pthread_mutex_lock(record.mutex.get());
            record.exitCode = signum + SIGNAL_EXIT_CODE_BASE;
            record.condVar->signal();
            HasApplicationTerminated = true; // the released loop needs the mutex, so it returns after this
            pthread_mutex_unlock(record.mutex.get());
        } else {
            HasApplicationTerminated = true;
        }
    }
    errno = interruptedErrno;
}

}
