// Tries every timing of signals, requests, forks and the end of the process around a program's event loop.
//
// A helper thread runs a scenario: it waits in the loop, requests the exit, or takes a signal. A step is a call of the
// helper that this file interposes. Two events happen, each before one chosen step: the helper takes a signal; or the
// main thread takes a signal, forks, or ends the process, and gets as far as it can while the helper waits for it.
// Each pair of steps is tried in a process of its own. One thread runs at a time, so a try can be repeated. The
// interposed calls require what must hold at each step. A failed try prints its steps; SIGALRM ends one that hangs.

#include "application/ApplicationImpl.hpp"
#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"
#include "support/Stress.hpp"
#include "threads/WaiterQueue.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <semaphore.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using brindle::Application;
using Record = Application::ApplicationImpl;

namespace {

struct Action {
    const char* name;
    void (*run)();
};

struct RequestGivesUp {}; // thrown to leave Application::exit()

// SIGUSR2 is blocked in every thread from its start. A holder of the mutex blocks SIGUSR1 also, because a program's
// handler could wait there, but not SIGSEGV, which is fatal where it is blocked.
constexpr auto WATCHED = {SIGINT, SIGTERM, SIGUSR1, SIGUSR2, SIGSEGV};
constexpr auto AT_THE_START = {SIGUSR2}, ACROSS_FORK = {SIGINT, SIGTERM, SIGUSR2},
               IN_HOLDER = {SIGINT, SIGTERM, SIGUSR1, SIGUSR2};

constexpr int PASSED = 10; // the exit status of a try, plus the number of events that happened
constexpr int CODE_OF_SCENARIO = 5, CODE_FOR_LOOP = 7, SIGNAL_BASE = 130, INTERRUPTED_ERRNO = 4711;

// Written by the test, before the process of a try exists.
std::vector<std::pair<int, Action>> plannedEvents; // with the step before which each happens

// Written by the helper.
int steps = 0, pauses = 0;
std::atomic<bool> helperIsThrough = false;

// Written by the main thread.
pthread_mutex_t* applicationMutex = nullptr;
bool inForkedChild = false;
std::atomic<int> naps = 0; // in the destructor of the record
std::atomic<bool> processEnds = false, recordIsGone = false;

// Written by both threads, to hand an action to the main thread and to see how far it gets.
std::atomic<void (*)()> actionForMain = nullptr;
std::atomic<int> unfinishedActions = 0;
std::atomic<bool> mainWaitsForMutex = false;

// Written by the thread on which an event happens.
int eventsThatHappened = 0;
std::atomic<int> signals = 0;

// Written by the holder of the mutex.
int storedCode = 0; // that of the last request

// Written and read by each thread for itself.
thread_local bool isHelper = false, holdsMutex = false;
thread_local int requestedCode = 0; // by the handler or the request that runs; 0 if neither does
thread_local int signalsWhenLocked = 0, codeWhenLocked = 0; // when the loop had locked last

void require(bool holds, const char* promise)
{
    if (!holds) {
        dprintf(STDERR_FILENO, "BROKEN in the %s thread: %s\n", isHelper ? "helper" : "main", promise);
        _exit(EXIT_FAILURE);
    }
}

void waitUntil(bool (*condition)())
{
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
}

// Until the main thread is done, or needs the helper to go on: for the mutex, or to leave the gate. A second nap shows
// that the destructor has looked again.
void waitForMain()
{
    waitUntil([] { return unfinishedActions == 0 || (mainWaitsForMutex && holdsMutex) || naps > 1 || recordIsGone; });
}

void runOnMainThread(void (*action)())
{
    ++unfinishedActions;
    actionForMain = action;
    waitForMain();
}

void endProcess()
{
    processEnds = true;
    std::exit(EXIT_SUCCESS);
}

// The helper does not return to its scenario. No effect on a main thread that ends the process already.
void letMainEndTheProcess()
{
    helperIsThrough = true;
    runOnMainThread(endProcess);
    waitUntil([] { return false; });
}

void step(const char* call)
{
    if (!isHelper) {
        return;
    }
    ++steps;
    dprintf(STDERR_FILENO, "step %d: %s\n", steps, call);
    const int now = steps; // an event may take further steps
    for (const auto& [when, event] : plannedEvents) {
        if (when == now) {
            ++eventsThatHappened;
            dprintf(STDERR_FILENO, "before it: %s\n", event.name);
            event.run();
        }
    }
}

// Whether these are blocked, and no others of those that the tries watch.
bool signalsAreBlocked(std::initializer_list<int> expected)
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    const auto isBlocked = [&mask](int signal) { return sigismember(&mask, signal) == 1; };
    return std::count_if(WATCHED.begin(), WATCHED.end(), isBlocked) == static_cast<int>(expected.size()) &&
           std::all_of(expected.begin(), expected.end(), isBlocked);
}

void handle(int signal)
{
    require(!inForkedChild || Application::HasApplicationTerminated, "the child of a fork keeps the flag");
    require(!inForkedChild || recordIsGone || brindle::threads::WaiterQueue::count(*Record::impl().condVar) == 0,
            "the child of a fork begins with an empty queue");
    const int interruptedRequest = std::exchange(requestedCode, signal + SIGNAL_BASE);
    errno = INTERRUPTED_ERRNO;
    Record::application_exit_signal(signal);
    require(errno == INTERRUPTED_ERRNO, "the handler restores errno");
    require(Application::HasApplicationTerminated, "the handler sets the flag, even where the gate is closed");
    requestedCode = interruptedRequest;
}

void takeSignal()
{
    ++signals;
    raise(signals == 1 ? SIGINT : SIGTERM);
}

// Runs before the library's handler, which must renew the record before it unblocks the signal.
void afterForkInChild()
{
    alarm(SECONDS_TO_A_HANG);
    inForkedChild = true;
    require(signalsAreBlocked(ACROSS_FORK) && !holdsMutex, "a fork has SIGINT and SIGTERM blocked, and holds no mutex");
    storedCode = Record::impl().exitCode; // the helper may have held the mutex
    Application::HasApplicationTerminated = true;
    raise(SIGINT);
}

void forkHere()
{
    const pid_t child = fork();
    require(signalsAreBlocked(AT_THE_START), "parent and child of a fork have the mask that was there before");
    if (child == 0) {
        if (recordIsGone) {
            _exit(PASSED);
        }
        require(Application::app().runEventLoop() == CODE_FOR_LOOP, "the child of a fork can run a loop");
        std::exit(EXIT_SUCCESS);
    }
    int status = -1;
    waitpid(child, &status, 0);
    require(WIFEXITED(status) && WEXITSTATUS(status) == PASSED, "the child of a fork can end");
}

// The exit handler that runs last.
void endTheTry()
{
    recordIsGone = true;
    if (inForkedChild) {
        _exit(PASSED);
    }
    raise(SIGINT); // must not use the record
    waitUntil([] { return helperIsThrough.load(); });
    if (eventsThatHappened < 2) {
        forkHere();
    }
    _exit(PASSED + eventsThatHappened);
}

void runLoop()
{
    const int code = Application::app().runEventLoop();
    require(code != 0 && code == codeWhenLocked, "the loop returns the code of the last request before it locked");
    require(!Application::HasApplicationTerminated || signals > 0 || processEnds, "only a signal sets the flag");
}

void request(int code)
{
    requestedCode = code;
    try {
        Application::app().exit(code);
    } catch (const RequestGivesUp&) {
        // A signal has released the loop.
    }
    requestedCode = 0;
}

[[noreturn]] void runTry(const Action& scenario)
{
    alarm(SECONDS_TO_A_HANG);
    std::atexit(endTheTry); // before the record exists, so that it runs after the record's destructor
    pthread_atfork(nullptr, nullptr, afterForkInChild);
    int argc = 0;
    char* argv[] = {nullptr};
    Application::app().init(&argc, argv, nullptr);
    std::signal(SIGINT, handle);
    std::signal(SIGTERM, handle);
    applicationMutex = Record::impl().mutex.get();
    sigset_t blockedFromTheStart = {};
    sigaddset(&blockedFromTheStart, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &blockedFromTheStart, nullptr);
    std::thread([&scenario] {
        isHelper = true;
        step("scenario");
        scenario.run();
        require(signalsAreBlocked(AT_THE_START), "the scenario ends with the mask that it began with");
        letMainEndTheProcess();
    }).detach();
    while (true) {
        waitUntil([] { return actionForMain != nullptr; });
        actionForMain.exchange(nullptr)();
        --unfinishedActions;
    }
}

}

extern "C" {

int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    static auto* const real = REAL_CALL(pthread_sigmask);
    if (set != nullptr) {
        step("pthread_sigmask");
        errno = 0; // the handler must restore it
        if (!isHelper && processEnds && requestedCode == 0) {
            raise(SIGINT); // must find the gate closed
        }
    }
    return real(how, set, old);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static auto* const real = REAL_CALL(pthread_mutex_lock);
    if (mutex != applicationMutex) {
        return real(mutex);
    }
    step("pthread_mutex_lock");
    require(!recordIsGone, "no thread locks after the record is gone");
    require(signalsAreBlocked(IN_HOLDER), "a thread that locks has its signals blocked");
    require(isHelper || !processEnds || requestedCode == 0, "the end of the process closes the gate first");
    mainWaitsForMutex = !isHelper;
    real(mutex);
    mainWaitsForMutex = false;
    require(Record::impl().exitCode == storedCode, "the exit code changes only with the mutex held");
    holdsMutex = true;
    allocations::untilFailure = 1; // the holder must not allocate
    if (requestedCode == 0) {
        signalsWhenLocked = signals;
        codeWhenLocked = storedCode;
    }
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    static auto* const real = REAL_CALL(pthread_mutex_unlock);
    if (mutex != applicationMutex) {
        return real(mutex);
    }
    step("pthread_mutex_unlock");
    require(!recordIsGone, "no thread holds the mutex when the record is destroyed");
    require(signalsAreBlocked(IN_HOLDER) && holdsMutex, "a thread that unlocks has the mutex and its signals blocked");
    require(requestedCode < SIGNAL_BASE || Application::HasApplicationTerminated, "the handler sets the flag in time");
    if (requestedCode != 0) {
        storedCode = requestedCode;
    }
    require(Record::impl().exitCode == storedCode, "a request stores its code, whether or not it finds a loop");
    allocations::untilFailure = 0;
    holdsMutex = false;
    real(mutex);
    if (isHelper) {
        waitForMain(); // it may have waited for the mutex
    }
    return 0;
}

// Takes a lock of the C library.
int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept
{
    require(!holdsMutex, "the holder of the mutex waits for nothing else");
    return REAL_CALL(pthread_getschedparam)(thread, policy, param);
}

// A loop that falls asleep must have been queued. A request, as another thread could make, releases it to show that.
int sem_wait(sem_t* semaphore)
{
    step("sem_wait");
    int tokens = 0;
    sem_getvalue(semaphore, &tokens);
    if (tokens == 0) {
        require(signalsAreBlocked(AT_THE_START), "the loop sleeps with the mask of its caller");
        if (signals == signalsWhenLocked) {
            request(CODE_FOR_LOOP);
        }
        sem_getvalue(semaphore, &tokens);
        if (tokens == 0 && processEnds) {
            letMainEndTheProcess(); // the gate is closed to all that could release the loop
        }
        require(tokens == 1, "a signal or request releases the loop once");
    }
    return REAL_CALL(sem_wait)(semaphore);
}

// Between two attempts of exit().
int clock_nanosleep(clockid_t, int, const timespec*, timespec*)
{
    step("clock_nanosleep");
    if (requestedCode == CODE_FOR_LOOP) { // it found no loop, so sem_wait() requires that a signal has released that
        throw RequestGivesUp();
    }
    if (!recordIsGone) {
        letMainEndTheProcess();
    }
    return 0; // the next attempt must find the gate closed and return
}

int usleep(useconds_t time)
{
    int cancellation = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
    require(cancellation == PTHREAD_CANCEL_DISABLE, "the thread that ends the process cannot be cancelled");
    ++naps;
    return REAL_CALL(usleep)(time);
}

// By a loop that finds the gate closed. It must pause again after a handler has run.
int pause()
{
    helperIsThrough = pauses > 0;
    ++pauses;
    return -1;
}
}

constexpr Action SCENARIOS[] = {
    {"Loop", runLoop}, // the longest first
    {"Request", [] { request(CODE_OF_SCENARIO); }},
    {"Handler", takeSignal},
};
constexpr Action SIGNAL_TO_HELPER = {"SignalToHelper", takeSignal};
constexpr Action SIGNAL_TO_MAIN = {"SignalToMain", [] { runOnMainThread(takeSignal); }};
constexpr Action END_OF_PROCESS = {"EndOfProcess", [] { runOnMainThread(endProcess); }};
constexpr Action FORK_BY_MAIN = {"ForkByMain", [] { runOnMainThread(forkHere); }};

class EndingTest : public testing::TestWithParam<std::tuple<Action, Action>> {};

TEST_P(EndingTest, SucceedsWithEventsBeforeAnyTwoSteps)
{
    const auto& [scenario, first] = GetParam();
    const int stride = stressChildren() < 40 ? 5 : LATER_STEPS; // the first event is tried before every step
    // A main thread that ends the process takes no action.
    const auto secondEvents =
        first.run == END_OF_PROCESS.run ? std::vector{SIGNAL_TO_HELPER} : std::vector{SIGNAL_TO_HELPER, SIGNAL_TO_MAIN};
    for (const Action& second : secondEvents) {
        int firstStep = 0;
        for (int happened = 2; happened > 0;) {
            ++firstStep;
            happened = 2;
            for (int secondStep = firstStep; happened == 2; secondStep += stride) {
                plannedEvents = {{firstStep, first}, {secondStep, second}};
                const auto passes = [&happened](int status) {
                    happened = WEXITSTATUS(status) - PASSED;
                    return WIFEXITED(status) && happened >= 0 && happened <= 2;
                };
                ASSERT_EXIT(runTry(scenario), passes, "") << first.name << " before step " << firstStep << ", "
                                                          << second.name << " before step " << secondStep;
            }
        }
        ASSERT_GT(firstStep, 5) << "each scenario has five steps at least";
    }
}

const auto FIRST_EVENTS = testing::Values(SIGNAL_TO_HELPER, SIGNAL_TO_MAIN, END_OF_PROCESS, FORK_BY_MAIN);
const auto nameOf = [](const auto& tried) {
    return std::get<0>(tried.param).name + std::string("_") + std::get<1>(tried.param).name;
};
INSTANTIATE_TEST_SUITE_P(EveryStep, EndingTest, testing::Combine(testing::ValuesIn(SCENARIOS), FIRST_EVENTS), nameOf);
