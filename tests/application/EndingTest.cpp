// Does anything go wrong on the way to the end of a program, whatever comes between two of its steps?
//
// A helper thread takes a road: it waits in the loop, makes a request, or runs the handler. The calls that the library makes
// there pass through stand-ins, which hold every thread to the rules. Before a chosen step of the helper something happens:
// a signal to it; or the main thread gets a signal, forks, or ends the process, as far as it can while the helper waits.
// Every step is tried, in a process of its own. One thread moves at a time, so nothing is left to chance.

#include "StandIns.hpp"
#include "application/ApplicationImpl.hpp"
#include "threads/WaiterQueue.hpp"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <semaphore.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using brindle::Application;
using brindle::threads::WaiterQueue;
using Record = Application::ApplicationImpl;
using Happening = void (*)();

namespace {

constexpr int ENDED = 10; // a child's status, with the number of events added

enum class Call { OTHER, LOCK, UNLOCK } nextCall = Call::OTHER; // of the helper

std::vector<std::pair<int, Happening>> events; // and the steps before which they happen
std::size_t happened = 0;
int steps = 0, signals = 0, signalsBeforeLock = 0, pauses = 0, codeAtUnlock = 0, codeForTheLoop = 0;
pthread_mutex_t* applicationMutex = nullptr;
thread_local int handlers = 0, holding = 0; // running on this thread; whether it holds the mutex
thread_local int codeAskedFor = 0;          // by the request that runs on this thread, if one does
bool inLoop = false, inForkedChild = false, mayNap = true, mayLock = true;
bool triesOnce = false;                                     // a request gives up after its first attempt
bool childHasTakenSignal = false, childRunsItsLoop = false; // that of a fork
struct FoundNoLoop {};                                      // thrown by a request that gives up
std::atomic<pthread_t> helper = {};
std::atomic<Happening> deed = nullptr;                                                            // for the main thread
std::atomic<int> mainIsBusy{}, mainWaits{}, naps{}, exiting{}, recordIsGone{}, helperIsThrough{}; // 0, or true

void demand(bool kept, const char* promise)
{
    if (!kept) {
        dprintf(STDERR_FILENO, "broken before step %d: %s\n", steps, promise);
        _exit(EXIT_FAILURE);
    }
}

bool isHelper()
{
    return pthread_equal(pthread_self(), helper) != 0;
}

template <typename Condition>
void await(Condition condition)
{
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::microseconds(1));
    }
}

void letMain(Happening act)
{
    mainIsBusy = true;
    deed = act;
    await([] { return !mainIsBusy || mainWaits || naps > 1 || recordIsGone; });
}

void endProcess()
{
    mayLock = nextCall != Call::OTHER || inLoop; // the helper is inside
    mayNap = nextCall == Call::LOCK || (mayLock && WaiterQueue::count(*Record::impl().condVar) == 0);
    exiting = true;
    std::exit(EXIT_SUCCESS);
}

[[noreturn]] void stay()
{
    helperIsThrough = true;
    letMain(endProcess);
    await([] { return false; });
    std::abort();
}

void step(Call call = Call::OTHER)
{
    if (isHelper()) {
        nextCall = call;
        const int now = ++steps;
        while (happened < events.size() && events[happened].first == now) {
            events[happened++].second();
        }
    }
    demand(call == Call::OTHER || !recordIsGone, "the record is there while it is used");
}

bool isBlocked(int signal)
{
    sigset_t now;
    pthread_sigmask(SIG_BLOCK, nullptr, &now);
    return sigismember(&now, signal) == 1;
}

// Whether SIGINT and SIGTERM are both blocked, or neither; and SIGUSR2 still is, as from the beginning.
bool masked(bool both)
{
    return isBlocked(SIGINT) == both && isBlocked(SIGTERM) == both && isBlocked(SIGUSR2);
}

// A handler of the program's for SIGUSR1 may stop its thread and wait; one for SIGSEGV must run wherever it is raised.
bool maskIsThatOfAHolder()
{
    return masked(true) && isBlocked(SIGUSR1) && !isBlocked(SIGSEGV);
}

bool maskIsTheThreadsOwn()
{
    return masked(false) && !isBlocked(SIGUSR1);
}

// Whether the first attempt releases a loop.
bool tryExit(int code)
{
    codeAskedFor = code;
    triesOnce = true;
    bool released = true;
    try {
        Application::app().exit(code);
    } catch (const FoundNoLoop&) {
        released = false;
    }
    triesOnce = false;
    codeAskedFor = 0;
    return released;
}

}

extern "C" {

int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    static auto* const real = REAL_CALL(pthread_sigmask);
    if (set != nullptr) {
        step();
        errno = !isHelper() && exiting && handlers == 0 ? raise(SIGINT) : 0; // which must find the gate closed
    }
    return real(how, set, old);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static auto* const real = REAL_CALL(pthread_mutex_lock);
    if (mutex != applicationMutex) {
        return real(mutex);
    }
    step(Call::LOCK);
    demand(maskIsThatOfAHolder() && holding == 0, "who locks has the signals blocked, and does not wait for himself");
    demand(isHelper() || (mayLock && (!exiting || handlers == 0)), "the end closes the gate, and looks who is inside");
    if (pthread_mutex_trylock(mutex) != 0) {
        mainWaits = !isHelper();
        real(mutex);
        mainWaits = false;
    }
    demand(Record::impl().exitCode == codeAtUnlock, "a code is stored with the mutex held");
    demand(!inForkedChild || childRunsItsLoop || WaiterQueue::count(*Record::impl().condVar) == 0,
           "the child of a fork has no queue");
    holding = 1;
    allocations::untilFailure = 1; // the holder does not allocate
    signalsBeforeLock = isHelper() && handlers == 0 ? signals : signalsBeforeLock;
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    static auto* const real = REAL_CALL(pthread_mutex_unlock);
    if (mutex != applicationMutex) {
        return real(mutex);
    }
    step(Call::UNLOCK);
    demand(maskIsThatOfAHolder() && holding == 1, "who unlocks has the signals blocked, and the mutex");
    demand(handlers == 0 || Application::HasApplicationTerminated, "the flag is set before the loop can return");
    codeAtUnlock = Record::impl().exitCode;
    demand(codeAskedFor == 0 || codeAtUnlock == codeAskedFor,
           "a request stores its code, whether or not it finds a loop");
    codeForTheLoop = handlers == 0 && isHelper() ? codeAtUnlock : codeForTheLoop;
    allocations::untilFailure = 0;
    holding = 0;
    real(mutex);
    await([] { return !isHelper() || !mainIsBusy || naps > 1 || recordIsGone; });
    return 0;
}

// Which takes a lock of the system's.
int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept
{
    demand(holding == 0, "the holder waits for nothing else");
    return REAL_CALL(pthread_getschedparam)(thread, policy, param);
}

int sem_wait(sem_t* semaphore)
{
    step();
    int tokens = 0;
    sem_getvalue(semaphore, &tokens);
    if (tokens == 0) {
        demand(maskIsTheThreadsOwn(), "who sleeps has the mask that he came with");
        const int before = signalsBeforeLock;
        const bool released = (childRunsItsLoop || signals == before) && tryExit(7);
        sem_getvalue(semaphore, &tokens);
        tokens == 0 && exiting ? stay() : void(); // nobody can release it any more
        demand(tokens == 1 && (released || signals > before), "no request is lost");
    }
    return REAL_CALL(sem_wait)(semaphore);
}

int usleep(useconds_t time)
{
    demand(mayNap, "the end waits for nobody who is outside or asleep");
    int cancellation = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
    demand(cancellation == PTHREAD_CANCEL_DISABLE, "the thread that ends the process cannot be cancelled");
    ++naps;
    return REAL_CALL(usleep)(time);
}

int clock_nanosleep(clockid_t, int, const timespec*, timespec*)
{
    step();
    if (triesOnce) {
        throw FoundNoLoop();
    }
    return recordIsGone ? 0 : (stay(), 0); // and exit() must not ask again and again
}

int pause()
{
    return pauses++ == 0 ? -1 : (stay(), 0); // a signal may end it
}
}

namespace {

void handle(int signal)
{
    ++handlers;
    demand(!inForkedChild || Application::HasApplicationTerminated, "the child of a fork keeps the flag");
    childHasTakenSignal = inForkedChild;
    const int interruptedCode = std::exchange(codeAskedFor, signal + 130);
    const int interrupted = std::exchange(errno, 4711);
    Record::application_exit_signal(signal);
    demand(std::exchange(errno, interrupted) == 4711, "the interrupted code keeps its errno");
    codeAskedFor = interruptedCode;
    demand(isBlocked(signal), "what was blocked before is blocked after");
    --handlers;
}

void interrupt()
{
    raise(signals++ == 0 ? SIGINT : SIGTERM);
}

// Comes before the library's handler. The signal is taken when that is through.
void afterForkInChild()
{
    demand(masked(true), "the child's first signal comes when its record is in order");
    alarm(SECONDS_TO_A_HANG);
    inForkedChild = true;
    codeAtUnlock = Record::impl().exitCode;
    Application::HasApplicationTerminated = true;
    raise(SIGINT);
}

void forkHere()
{
    const pid_t child = fork();
    if (child == 0) {
        demand(childHasTakenSignal && maskIsTheThreadsOwn(), "the child of a fork takes signals");
        childRunsItsLoop = !exiting;
        demand(exiting || Application::app().runEventLoop() == 7, "the child of a fork can run a loop");
        recordIsGone ? _exit(ENDED) : std::exit(EXIT_SUCCESS);
    }
    int status = -1;
    demand(waitpid(child, &status, 0) == child && maskIsTheThreadsOwn(), "the parent keeps its own mask");
    demand(status == ENDED << 8, "the child of a fork can end");
}

// Destroyed after the application's record.
struct AfterTheRecord {
    ~AfterTheRecord()
    {
        recordIsGone = true;
        if (!inForkedChild) {
            Application::HasApplicationTerminated = false;
            raise(SIGINT);
            demand(Application::HasApplicationTerminated, "the flag tells of late signals too");
            await([] { return helperIsThrough.load(); });
            happened < events.size() ? forkHere() : void();
        }
        _exit(ENDED + static_cast<int>(inForkedChild ? 0 : happened));
    }
};

void loop()
{
    inLoop = true;
    const int code = Application::app().runEventLoop();
    inLoop = false;
    demand(code == codeForTheLoop && (code == 7 || code == 132 || code == 145), "the loop returns what it found");
    demand(Application::HasApplicationTerminated ? signals > 0 || exiting : code == 7, "the flag tells of signals");
}

[[noreturn]] void live(Happening road)
{
    alarm(SECONDS_TO_A_HANG);
    static const AfterTheRecord destroyedLast;
    pthread_atfork(
        [] { demand(masked(true) && holding == 0, "who forks has both signals blocked, and not the mutex"); }, nullptr,
        afterForkInChild);
    int argc = 0;
    char* argv[] = {nullptr};
    demand(Application::app().init(&argc, argv, nullptr) == 0, "the application starts");
    std::signal(SIGINT, handle);
    std::signal(SIGTERM, handle);
    applicationMutex = Record::impl().mutex.get();
    sigset_t mark = {};
    sigaddset(&mark, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &mark, nullptr);
    std::thread([road] {
        helper = pthread_self();
        step();
        road();
        demand(maskIsTheThreadsOwn(), "everybody leaves with the mask that he came with");
        nextCall = Call::OTHER;
        stay();
    }).detach();
    while (true) {
        await([] { return deed != nullptr; });
        deed.exchange(nullptr)();
        mainIsBusy = deed != nullptr;
    }
}

constexpr Happening interruptMain = [] { letMain(interrupt); }, end = [] { letMain(endProcess); },
                    forkMeanwhile = [] { letMain(forkHere); }, request = [] {
                        codeAskedFor = 5;
                        Application::app().exit(5);
                    };

}

class Ending : public testing::TestWithParam<std::tuple<Happening, Happening>> {};

TEST_P(Ending, ComesRightWhateverComesBeforeAnyTwoSteps)
{
    const auto [road, first] = GetParam();
    const int stride = stressChildren() < 40 ? 5 : LATER_STEPS; // who cannot wait meets every first step all the same
    // While main ends the process it takes no other deed; it is interrupted at its own steps.
    for (const Happening second : first == end ? std::vector{interrupt} : std::vector{interrupt, interruptMain}) {
        for (int i = 1, reached = 2; reached > 0; ++i) {
            for (int j = i; j == i || reached == 2; j += stride) {
                events = {{i, first}, {j, second}};
                const auto isSound = [&](int status) { // no road is shorter
                    reached = WEXITSTATUS(status) - ENDED;
                    return WIFEXITED(status) && reached >= (i > 5 ? 0 : 1) && reached <= 2;
                };
                ASSERT_EXIT(live(road), isSound, "") << i << ", " << j;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, Ending,
                         testing::Combine(testing::Values(loop, request, interrupt), // the longest first
                                          testing::Values(interrupt, interruptMain, end, forkMeanwhile)));
