// How a program is told to end: a thread waits in runEventLoop(), exit() or the signal handler releases it, and the
// record's destructor waits until every user of the record has left.
//
// Two rules hold for the holder of the application mutex; docs/ending.md gives the reasons.
// 1. Every asynchronous signal is blocked in the holder, so no handler runs on it.
// 2. The holder waits for nothing else: it does not allocate, print, sleep or take another lock.

#include "application/ApplicationImpl.hpp"
#include "application/Diagnostics.hpp"
#include "application/LoopQueue.hpp"
#include "application/RecordGate.hpp"
#include "application/SignalMask.hpp"

#include <brindle/threads/ScopedLock.hpp>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <pthread.h>
#include <unistd.h>

namespace brindle {

namespace {

constexpr int EXIT_ATTEMPTS = 100;
constexpr long ATTEMPT_INTERVAL_NS = 200'000'000;
constexpr int SIGNAL_EXIT_CODE_BASE = 130;

alignas(8) std::atomic_flag processIsBeingEnded = ATOMIC_FLAG_INIT; // by forceExit(); aligned as recordGate is
thread_local bool thisThreadEndsTheProcess = false;

[[noreturn]] void waitForTheEndOfTheProcess()
{
    while (true) {
        pause();
    }
}

// Sleeps until a point in time. The rest of a relative sleep grows a little with every interruption, so under
// frequent signals it would never end.
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

// Only the first caller ends the process: C leaves undefined what happens when two threads call std::exit.
[[noreturn]] void forceExit()
{
    if (processIsBeingEnded.test_and_set()) {
        waitForTheEndOfTheProcess();
    }
    thisThreadEndsTheProcess = true;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); // or the process could lose the thread that ends it
    printError("Tried to exit cleanly, but we could never exit the event loop. "
               "Please speak to the maintainer. Force exit!");
    std::exit(EXIT_FAILURE);
}

}

// The steps of CondVar::wait(), with the signals blocked exactly while the mutex is held.
int Application::runEventLoop()
{
    const RecordGate::Pass pass(recordGate);
    if (!pass) {
        waitForTheEndOfTheProcess();
    }
    threads::CondVar::WaitingCondition self; // before the mutex: pthread_getschedparam may take a lock
    SignalsBlocked blocked;
    threads::ScopedLock lock(appImpl.mutex.get());
    LoopQueue::add(*appImpl.condVar, self);
    lock.unlock();
    blocked.unblock(); // the handler of a pending signal runs here, and finds the loop queued
    self.wait();
    blocked.block();
    lock.relock();
    return appImpl.exitCode;
}

void Application::exit(int code)
{
    if (thisThreadEndsTheProcess) {
        return; // the caller is an exit handler that forceExit() has started
    }
    for (int attempt = 0; attempt < EXIT_ATTEMPTS; ++attempt) {
        if (ApplicationImpl::tryExit(code)) {
            return;
        }
        sleepForAnAttemptInterval(); // outside the gate, or the end of the process would wait for this sleep
    }
    forceExit();
}

bool Application::ApplicationImpl::tryExit(int code)
{
    const SignalsBlocked blocked;
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

// The interrupted thread cannot hold the mutex, because holders block every signal, and a holder never blocks. So the
// lock is always granted. The loop queues itself before it unlocks, so a signal that comes while it waits finds it.
// Nothing here allocates or prints. It is a member function's body, and not inlined there: see below.
[[gnu::noinline]] void Application::ApplicationImpl::requestExitForSignal(int signum)
{
    const SignalsBlocked blocked; // `signal` blocks only the signal being handled
    const RecordGate::Pass pass(recordGate);
    if (!pass) {
        HasApplicationTerminated = true;
        return;
    }
    ApplicationImpl& record = impl();
    pthread_mutex_lock(record.mutex.get());
    record.exitCode = signum + SIGNAL_EXIT_CODE_BASE;
    record.condVar->signal();
    HasApplicationTerminated = true; // the released loop needs the mutex, so it returns after this
    pthread_mutex_unlock(record.mutex.get());
}

// Cancellation may interrupt the handler: glibc makes it asynchronous while a thread blocks in a cancellation point, and
// the handler may have interrupted that call. Here it does no harm, because this function has nothing to clean up. Inside
// requestExitForSignal() it would lose the mutex, so it is deferred there and acts at the end.
//
// The type is set, not the state: glibc has already sent the cancellation signal when it finds the state disabled, and
// musl drops that signal then.
void Application::ApplicationImpl::application_exit_signal(int signum)
{
    const int interruptedErrno = errno;
    int interruptedType = PTHREAD_CANCEL_DEFERRED;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &interruptedType);
    requestExitForSignal(signum);
    errno = interruptedErrno;
    pthread_setcanceltype(interruptedType, nullptr);
}

Application::ApplicationImpl::~ApplicationImpl()
{
    int cancelState = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState); // usleep is a cancellation point; a destructor is not
    recordGate.close();
    while (isInUse()) {
        // A sleep, not a yield: a real-time thread that yields still keeps threads of lower priority off the processor.
        // A signal that cuts the sleep short only brings the next look forward.
        usleep(1000);
    }
    pthread_setcancelstate(cancelState, nullptr);
    delete[] optionTable;
    mutex.clean();
    condVar.clean();
}

// A loop that sleeps in its wait is inside the gate but uses nothing. It touches the record again only when it is
// released. Once the gate is closed and every other user has left, nothing can release it.
bool Application::ApplicationImpl::isInUse() const
{
    if (recordGate.inside() == 0) {
        return false; // without init() there is no mutex to lock
    }
    const SignalsBlocked blocked;
    const threads::ScopedLock lock(mutex.get());
    return recordGate.inside() != LoopQueue::waiting(*condVar);
}

}
