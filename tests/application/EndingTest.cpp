// Tries every timing of signals, requests, forks and the end of the process on the ways that end a program.
//
// A helper thread runs a scenario: it waits in the event loop, requests the exit, or takes a signal. A step is a call of
// the helper that this file interposes. Two events happen, each before one chosen step: a signal reaches the helper; or
// the main thread takes a signal, forks, or ends the process, and runs as far as it can while the helper waits for it.
// Every pair of steps is tried, in a process of its own. One thread runs at a time, so each try can be repeated. The
// interposed calls require what must hold at each step. They write a call trace, which a failed try prints.

#include "StandIns.hpp"
#include "application/ApplicationImpl.hpp"
#include "application/LoopQueue.hpp"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <semaphore.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using brindle::Application;
using brindle::LoopQueue;
using Record = Application::ApplicationImpl;

namespace {

constexpr int PASSED = 10; // the exit status of a try, plus the number of its events that happened
constexpr int HELPERS_CODE = 5, LOOPS_CODE = 7, INTERRUPTED_ERRNO = 4711;
constexpr std::string_view LOCK = "pthread_mutex_lock", UNLOCK = "pthread_mutex_unlock";

struct Action {
    const char* name;
    void (*run)();
};

struct RequestGivesUp {}; // thrown out of Application::exit()

// Written by the test, before the process of a try exists.
std::vector<std::pair<int, Action>> plannedEvents; // each with the step before which it happens

// Written by the helper.
std::string_view helpersCall; // that the helper makes next
int steps = 0, pauses = 0;
std::size_t eventsThatHappened = 0;
bool loopRuns = false;
std::atomic<bool> helperIsThrough = false;

// Written by the main thread.
pthread_mutex_t* applicationMutex = nullptr;
bool mayLock = true, mayNap = true; // in the destructor of the record
bool inForkedChild = false;
std::atomic<int> naps = 0;
std::atomic<bool> processEnds = false, recordIsGone = false, waitsForMutex = false;

// Written by the helper when it hands an action to the main thread, and by the main thread when it takes or ends one.
std::atomic<void (*)()> actionForMain = nullptr;
std::atomic<int> unfinishedActions = 0;

// Written by the thread that gets a signal: how many events of that kind there were.
std::atomic<int> signals = 0;

// Written by the holder of the mutex: the code of the last request that had it.
int storedCode = 0;

// Each thread has its own.
thread_local bool isHelper = false, holdsMutex = false, triesOnlyOnce = false;
thread_local int runningHandlers = 0;
thread_local int requestedCode = 0;                             // by the request or the handler that runs, else 0
thread_local int signalsBeforeLock = 0, storedCodeAtUnlock = 0; // when the loop locked, and unlocked, last

void require(bool holds, const char* promise)
{
    if (!holds) {
        dprintf(STDERR_FILENO, "BROKEN in the %s thread: %s\n", isHelper ? "helper" : "main", promise);
        _exit(EXIT_FAILURE);
    }
}

template <typename Condition>
void waitUntil(Condition condition)
{
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
}

// The main thread cannot go on while it waits for the mutex, or, in the record's destructor, for the helper: it naps
// again only after it has looked.
void waitForMain()
{
    waitUntil([] { return unfinishedActions == 0 || (waitsForMutex && holdsMutex) || naps > 1 || recordIsGone; });
}

void runOnMainThread(void (*action)())
{
    ++unfinishedActions;
    actionForMain = action;
    waitForMain();
}

// The helper is inside the gate for its whole stay in the loop, and while it uses the mutex. A loop that sleeps in the
// queue does not count.
void endProcess()
{
    mayLock = loopRuns || helpersCall == LOCK || helpersCall == UNLOCK;
    mayNap = helpersCall == LOCK || (mayLock && LoopQueue::waiting(*Record::impl().condVar) == 0);
    processEnds = true;
    std::exit(EXIT_SUCCESS);
}

// The helper never returns to its scenario. The main thread ends the process, if it does not do so already.
[[noreturn]] void stayUntilTheProcessEnds()
{
    helperIsThrough = true;
    runOnMainThread(endProcess);
    while (true) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

void step(std::string_view call)
{
    if (isHelper) {
        helpersCall = call;
        ++steps;
        dprintf(STDERR_FILENO, "step %d of the helper: %s\n", steps, call.data());
        while (eventsThatHappened < plannedEvents.size() && plannedEvents[eventsThatHappened].first == steps) {
            const Action event = plannedEvents[eventsThatHappened].second;
            ++eventsThatHappened;
            dprintf(STDERR_FILENO, "before it: %s\n", event.name);
            event.run();
        }
    } else {
        dprintf(STDERR_FILENO, "main thread: %s\n", call.data());
    }
}

bool isBlocked(int signal)
{
    sigset_t now;
    pthread_sigmask(SIG_BLOCK, nullptr, &now);
    return sigismember(&now, signal) == 1;
}

// Every thread of a try has SIGUSR2 blocked from its start, so the library must not unblock it.
bool terminationSignalsAreBlocked()
{
    return isBlocked(SIGINT) && isBlocked(SIGTERM) && isBlocked(SIGUSR2);
}

// A program's handler of SIGUSR1 may stop its thread and wait; one of SIGSEGV must run where an instruction raises it.
bool signalsAreBlockedForAHolder()
{
    return terminationSignalsAreBlocked() && isBlocked(SIGUSR1) && !isBlocked(SIGSEGV);
}

bool signalsAreBlockedAsAtTheStart()
{
    return !isBlocked(SIGINT) && !isBlocked(SIGTERM) && !isBlocked(SIGUSR1) && isBlocked(SIGUSR2);
}

void request(int code)
{
    requestedCode = code;
    Application::app().exit(code);
}

// As another thread might do. Whether the first attempt releases a loop.
bool tryToReleaseALoop()
{
    bool released = true;
    triesOnlyOnce = true;
    try {
        request(LOOPS_CODE);
    } catch (const RequestGivesUp&) {
        released = false;
    }
    triesOnlyOnce = false;
    requestedCode = 0;
    return released;
}

}

extern "C" {

int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    static auto* const real = REAL_CALL(pthread_sigmask);
    if (set != nullptr) {
        step("pthread_sigmask");
        errno = 0; // as any call may change it
        if (!isHelper && processEnds && runningHandlers == 0) {
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
    step(LOCK);
    require(!recordIsGone, "the record exists while a thread locks its mutex");
    require(signalsAreBlockedForAHolder() && !holdsMutex, "a thread locks once, with its signals blocked");
    if (isHelper) {
        real(mutex);
    } else {
        require(mayLock, "the end of the process does not lock when no thread is inside the gate");
        require(!processEnds || runningHandlers == 0, "the end of the process closes the gate before it looks inside");
        waitsForMutex = true;
        real(mutex);
        waitsForMutex = false;
    }
    require(Record::impl().exitCode == storedCode, "the exit code changes only with the mutex held");
    holdsMutex = true;
    allocations::untilFailure = 1; // the holder must not allocate
    if (runningHandlers == 0) {
        signalsBeforeLock = signals;
    }
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    static auto* const real = REAL_CALL(pthread_mutex_unlock);
    if (mutex != applicationMutex) {
        return real(mutex);
    }
    step(UNLOCK);
    require(signalsAreBlockedForAHolder() && holdsMutex, "a thread unlocks what it holds, with its signals blocked");
    require(runningHandlers == 0 || Application::HasApplicationTerminated,
            "the handler sets the flag before the loop can return");
    if (requestedCode != 0) {
        storedCode = requestedCode;
    } else {
        storedCodeAtUnlock = storedCode;
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

// It takes a lock of the C library.
int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept
{
    require(!holdsMutex, "the holder of the mutex waits for nothing else");
    return REAL_CALL(pthread_getschedparam)(thread, policy, param);
}

// Before a loop falls asleep, a request must find it, unless a signal has released it since it locked.
int sem_wait(sem_t* semaphore)
{
    step("sem_wait");
    int tokens = 0;
    sem_getvalue(semaphore, &tokens);
    if (tokens == 0) {
        require(signalsAreBlockedAsAtTheStart(), "a loop sleeps with the mask that its caller had");
        const int before = signalsBeforeLock; // the request locks, too
        const bool released = signals == before && tryToReleaseALoop();
        sem_getvalue(semaphore, &tokens);
        if (tokens == 0 && processEnds) {
            stayUntilTheProcessEnds(); // no request can release the loop any more
        }
        require(tokens == 1 && (released || signals > before), "a request or signal releases the loop that is queued");
    }
    return REAL_CALL(sem_wait)(semaphore);
}

int usleep(useconds_t time)
{
    require(mayNap, "the end of the process does not wait for a thread outside the gate, nor for a loop asleep");
    int cancellation = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
    require(cancellation == PTHREAD_CANCEL_DISABLE, "the thread that ends the process cannot be cancelled");
    ++naps;
    return REAL_CALL(usleep)(time);
}

// Between two attempts of a request.
int clock_nanosleep(clockid_t, int, const timespec*, timespec*)
{
    step("clock_nanosleep");
    if (triesOnlyOnce) {
        throw RequestGivesUp();
    }
    if (!recordIsGone) {
        stayUntilTheProcessEnds();
    }
    return 0; // the next attempt must return, because the gate is closed
}

int pause()
{
    ++pauses;
    if (pauses > 1) {
        stayUntilTheProcessEnds();
    }
    return -1; // a handler ran
}
}

namespace {

void handle(int signal)
{
    require(!inForkedChild || Application::HasApplicationTerminated, "the child of a fork keeps the flag");
    require(!inForkedChild || recordIsGone || LoopQueue::waiting(*Record::impl().condVar) == 0,
            "the child of a fork begins with an empty queue");
    ++runningHandlers;
    const int interruptedRequest = std::exchange(requestedCode, signal + 130);
    errno = INTERRUPTED_ERRNO;
    Record::application_exit_signal(signal);
    require(errno == INTERRUPTED_ERRNO, "the handler restores errno");
    requestedCode = interruptedRequest;
    --runningHandlers;
}

void takeSignal()
{
    ++signals;
    raise(signals == 1 ? SIGINT : SIGTERM);
}

// Runs before the library's handler of the fork, which must have the record in order before it unblocks the signal.
void afterForkInChild()
{
    alarm(SECONDS_TO_A_HANG);
    inForkedChild = true;
    storedCode = Record::impl().exitCode; // the helper may have been about to unlock
    Application::HasApplicationTerminated = true;
    raise(SIGINT);
}

void forkHere()
{
    const pid_t child = fork();
    if (child == 0) {
        require(signalsAreBlockedAsAtTheStart(), "the child of a fork takes signals");
        if (recordIsGone) {
            _exit(PASSED);
        }
        require(Application::app().runEventLoop() == LOOPS_CODE, "the child of a fork can run a loop");
        std::exit(EXIT_SUCCESS);
    }
    int status = -1;
    waitpid(child, &status, 0);
    require(signalsAreBlockedAsAtTheStart(), "the parent of a fork keeps its mask");
    require(WIFEXITED(status) && WEXITSTATUS(status) == PASSED, "the child of a fork can end");
}

// Ends the try: destroyed after the application's record.
struct AfterTheRecord {
    ~AfterTheRecord()
    {
        recordIsGone = true;
        if (inForkedChild) {
            _exit(PASSED);
        }
        Application::HasApplicationTerminated = false;
        raise(SIGINT);
        require(Application::HasApplicationTerminated, "the handler sets the flag after the record is gone");
        waitUntil([] { return helperIsThrough.load(); });
        if (eventsThatHappened < plannedEvents.size()) {
            forkHere();
        }
        _exit(PASSED + static_cast<int>(eventsThatHappened));
    }
};

void runLoop()
{
    loopRuns = true;
    const int code = Application::app().runEventLoop();
    loopRuns = false;
    require(code != 0 && code == storedCodeAtUnlock,
            "the loop returns the code of the last request before it unlocked");
    require(!Application::HasApplicationTerminated || signals > 0 || processEnds, "only a signal sets the flag");
}

[[noreturn]] void runInThisProcess(void (*scenario)())
{
    alarm(SECONDS_TO_A_HANG);
    static const AfterTheRecord destroyedAfterTheRecord;
    pthread_atfork(
        [] {
            require(terminationSignalsAreBlocked() && !holdsMutex, "fork() runs with SIGINT and SIGTERM "
                                                                   "blocked, and without the mutex");
        },
        nullptr, afterForkInChild);
    int argc = 0;
    char* argv[] = {nullptr};
    require(Application::app().init(&argc, argv, nullptr) == 0, "the application starts");
    std::signal(SIGINT, handle);
    std::signal(SIGTERM, handle);
    applicationMutex = Record::impl().mutex.get();
    sigset_t blockedAtTheStart = {};
    sigaddset(&blockedAtTheStart, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &blockedAtTheStart, nullptr);
    std::thread([scenario] {
        isHelper = true;
        step("scenario");
        scenario();
        require(signalsAreBlockedAsAtTheStart(), "the scenario ends with the mask that it began with");
        helpersCall = {};
        stayUntilTheProcessEnds();
    }).detach();
    while (true) {
        waitUntil([] { return actionForMain != nullptr; });
        actionForMain.exchange(nullptr)();
        --unfinishedActions;
    }
}

constexpr Action SCENARIOS[] = {
    {"Loop", runLoop}, // first, because it takes longest
    {"Request", [] { request(HELPERS_CODE); }},
    {"Handler", takeSignal},
};
constexpr Action SIGNAL_TO_HELPER = {"SignalToHelper", takeSignal};
constexpr Action SIGNAL_TO_MAIN = {"SignalToMain", [] { runOnMainThread(takeSignal); }};
constexpr Action END_OF_PROCESS = {"EndOfProcess", [] { runOnMainThread(endProcess); }};
constexpr Action FORK_BY_MAIN = {"ForkByMain", [] { runOnMainThread(forkHere); }};

}

class EndingTest : public testing::TestWithParam<std::tuple<Action, Action>> {};

TEST_P(EndingTest, SucceedsWithEventsBeforeAnyTwoSteps)
{
    const auto [scenario, first] = GetParam();
    std::vector<Action> secondEvents = {SIGNAL_TO_HELPER};
    if (first.run != END_OF_PROCESS.run) { // there the main thread takes no action any more
        secondEvents.push_back(SIGNAL_TO_MAIN);
    }
    const int stride = stressChildren() < 40 ? 5 : LATER_STEPS; // every first step is tried all the same
    for (const Action& second : secondEvents) {
        std::size_t happened = 2;
        int firstStep = 0;
        while (happened > 0) {
            ++firstStep;
            happened = 2;
            for (int secondStep = firstStep; happened == 2; secondStep += stride) {
                plannedEvents = {{firstStep, first}, {secondStep, second}};
                const auto passes = [&happened](int status) {
                    happened = static_cast<std::size_t>(WEXITSTATUS(status) - PASSED);
                    return WIFEXITED(status) && happened <= plannedEvents.size();
                };
                ASSERT_EXIT(runInThisProcess(scenario.run), passes, "")
                    << scenario.name << ": " << first.name << " before step " << firstStep << ", " << second.name
                    << " before step " << secondStep;
            }
        }
        ASSERT_GT(firstStep, 5) << "every scenario has five steps at least";
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryStep, EndingTest,
    testing::Combine(testing::ValuesIn(SCENARIOS),
                     testing::Values(SIGNAL_TO_HELPER, SIGNAL_TO_MAIN, END_OF_PROCESS, FORK_BY_MAIN)),
    []X);
