// The end of a program, from the request to the destruction of the record: a thread waits in runEventLoop(), exit()
// or the signal handler releases it, and the record's destructor waits until every user of the record has left.
//
// Two rules hold for the holder of the application mutex; docs/ending.md gives the reasons.
// 1. Every asynchronous signal is blocked in the holder, so no handler runs on it.
// 2. The holder waits for nothing else: it does not allocate, print, sleep or take another lock.

#include "application/ApplicationImpl.hpp"
#include "application/CountingGate.hpp"
#include "application/PrintError.hpp"
#include "application/RecordLock.hpp"
#include "application/SignalMask.hpp"
#include "threads/WaiterQueue.hpp"

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

alignas(8) std::atomic_flag processIsBeingEnded = ATOMIC_FLAG_INIT; // by forceExit(); alignment as for recordGate
thread_local bool thisThreadEndsTheProcess = false;

[[noreturn]] void waitForTheEndOfTheProcess()
{
    while (true) {
        pause();
    }
}

// Sleeps until a point in time. Each interruption rounds the rest of a relative sleep up, so under frequent signals a
// relative sleep would never end.
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
    const CountingGate::Pass pass(recordGate);
    if (!pass) {
        waitForTheEndOfTheProcess();
    }
    threads::CondVar::WaitingCondition self; // before the mutex: pthread_getschedparam may take a lock
    SignalsBlocked blocked;
    RecordLock lock(appImpl.mutex.get());
    threads::WaiterQueue::add(*appImpl.condVar, self);
    lock.unlock();
    blocked.unblock(); // the handler of a pending signal runs here and finds the loop queued
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
    const CountingGate::Pass pass(recordGate);
    if (!pass) {
        return true;
    }
    ApplicationImpl& record = impl();
    const RecordLock lock(record.mutex.get());
    record.exitCode = code;
    return record.condVar->signal();
}

// The interrupted thread cannot hold the mutex, because holders block every signal, and a holder never blocks. So the
// lock is always granted. The loop queues itself before it unlocks, so a signal that comes while it waits finds it.
// Nothing here allocates or prints. application_exit_signal() must not inline this function: see there.
[[gnu::noinline]] void Application::ApplicationImpl::requestExitForSignal(int signum)
{
    const SignalsBlocked blocked; // `signal` blocks only the signal being handled
    const CountingGate::Pass pass(recordGate);
    if (!pass) {
        HasApplicationTerminated = true;
        return;
    }
    ApplicationImpl& record = impl();
    const RecordLock lock(record.mutex.get());
    record.exitCode = signum + SIGNAL_EXIT_CODE_BASE;
    record.condVar->signal();
    HasApplicationTerminated = true; // the released loop needs the mutex, so it returns after this
}

// Cancellation may interrupt the handler: glibc makes it asynchronous while a thread blocks in a cancellation point,
// and the handler may have interrupted that call. In this function a cancellation does no harm, because there is
// nothing to clean up. In requestExitForSignal() it would lose the mutex, so it is deferred until that returns.
//
// The type is set, not the state: musl discards a cancellation signal that arrives while the state is disabled, and the
// cancelled thread then blocks for ever.
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
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState); // or usleep() could unwind the destructor
    recordGate.close();
    while (isInUse()) {
        // A sleep, not a yield: a real-time thread that yields still keeps threads of lower priority off the processor.
        // A signal that ends the sleep early does no harm.
        usleep(1000);
    }
    pthread_setcancelstate(cancelState, nullptr);
    delete[] optionTable;
    mutex.clean();
    condVar.clean();
}

// A loop that sleeps is inside the gate but does not use the record before it is released. Once the gate is closed and
// every other user has left, nothing can release it.
bool Application::ApplicationImpl::isInUse() const
{
    if (recordGate.inside() == 0) {
        return false; // without init() the mutex is not initialised
    }
    const SignalsBlocked blocked;
    const RecordLock lock(mutex.get());
    return recordGate.inside() != threads::WaiterQueue::count(*condVar);
}

}
