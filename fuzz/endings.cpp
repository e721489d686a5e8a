// Does a process always end, and with the right status, whatever the timing of the requests to end it?
//
//   endings ROAD [FIRST_SEED]
//
// Starts child processes that end on the named road, each with other random pauses, and says how they ended. How many:
// BRINDLE_STRESS_CHILDREN, by default 100. Status 0: all ended as they should. A child's statuses besides those of its
// road: 95, no timer could be had; 96, a forked grandchild went wrong; 97, HasApplicationTerminated was wrong; 98,
// errno was disturbed; killed by signal 14: it hung.

#include "StressChildren.hpp"

#include <brindle/Application.hpp>
#include <brindle/time/Timer.hpp>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using brindle::Application;

namespace {

// A loaded machine has kept runnable threads waiting for more than 60.
constexpr unsigned SECONDS_TO_A_HANG = 240 * TIME_LIMIT_FACTOR;
constexpr std::size_t AT_ONCE = 12;

std::atomic<unsigned> seed = 0;

void pauseAtRandom()
{
    thread_local std::minstd_rand random(++seed);
    std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 200)(random)));
}

template <typename Action>
pthread_t inBackground(Action action)
{
    std::thread thread(action);
    const pthread_t id = thread.native_handle();
    thread.detach();
    return id;
}

using Aim = std::function<void(int)>;

void atProcess(int signal)
{
    kill(getpid(), signal);
}

Aim at(pthread_t thread)
{
    return [thread](int signal) { pthread_kill(thread, signal); };
}

// One signal after the other until the process is gone.
void rain(const std::vector<int>& signals, const Aim& send)
{
    inBackground([signals, send] {
        for (std::size_t i = 0;; ++i) {
            pauseAtRandom();
            send(signals[i % signals.size()]);
        }
    });
}

const std::vector<int> BOTH = {SIGINT, SIGTERM};

void requestExit(int code)
{
    inBackground([code] {
        pauseAtRandom();
        Application::app().exit(code);
    });
}

int waitInLoop(bool signalsCame)
{
    const int code = Application::app().runEventLoop();
    return Application::HasApplicationTerminated == signalsCame ? code : 97;
}

int bySignal(int signal)
{
    rain({signal}, atProcess);
    return waitInLoop(true);
}

[[noreturn]] void watchErrno()
{
    volatile int* const location = &errno;
    *location = 4711;
    while (*location == 4711) {
    }
    _exit(98);
}

[[noreturn]] void allocate()
{
    while (true) {
        void* volatile block = std::malloc(3000);
        std::free(block);
    }
}

// A thread that signals are aimed at must not end: its id would name nobody.
[[noreturn]] void stay()
{
    while (true) {
        pause();
    }
}

// The signals meet its attempts.
[[noreturn]] void requestExitAndStay()
{
    Application::app().exit(132);
    stay();
}

int byBothSignals()
{
    rain(BOTH, atProcess);
    rain(BOTH, at(pthread_self()));
    rain(BOTH, at(inBackground(watchErrno)));
    rain(BOTH, at(inBackground(allocate)));
    rain(BOTH, at(inBackground(requestExitAndStay)));
    pauseAtRandom();
    return Application::app().runEventLoop();
}

int byWorkers()
{
    requestExit(3);
    requestExit(3);
    requestExit(3);
    return waitInLoop(false);
}

class ExitTimer : public brindle::time::Timer {
public:
    ExitTimer() : Timer(1) {}
    void onTimeout() override { Application::app().exit(11); }
};

// The handler runs in the callback. Some libcs let signals through there, others have to be told.
class SignalTimer : public brindle::time::Timer {
public:
    SignalTimer() : Timer(1) {}
    void onTimeout() override
    {
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        std::raise(SIGINT);
    }
};

// The callbacks overlap, and come before the loop waits and after it has ended. Never destroyed, so that they may.
template <typename EndingTimer>
int byTimer(bool signalsCame)
{
    static EndingTimer& timer = *new EndingTimer;
    if (timer.start() != 0) {
        return 95;
    }
    pauseAtRandom();
    const int code = waitInLoop(signalsCame);
    pauseAtRandom();
    timer.stop();
    return code;
}

int byExitBeforeTheLoop()
{
    std::atomic<bool> calling = false;
    inBackground([&calling] {
        calling = true;
        Application::app().exit(4);
    });
    while (!calling) {
        std::this_thread::yield();
    }
    pauseAtRandom();
    return waitInLoop(false);
}

int withSignalsOnTheWayDown()
{
    requestExit(5);
    const int code = waitInLoop(false);
    rain(BOTH, atProcess);
    rain(BOTH, at(pthread_self()));
    requestExit(9); // finds nobody, and then not even the record
    pauseAtRandom();
    return code;
}

int afterASignalThatNobodyWaitedFor()
{
    std::raise(SIGINT);
    requestExit(6);
    return waitInLoop(true);
}

int bySomebodyElsesExit()
{
    rain(BOTH, atProcess);
    inBackground([] {
        pauseAtRandom();
        std::exit(8);
    });
    while (true) {
        Application::app().runEventLoop(); // entered, left and asleep while the record goes
    }
}

int afterForks()
{
    for (int i = 0; i < 3; ++i) {
        rain(BOTH, at(inBackground(stay)));
    }
    for (int i = 0; i < 5; ++i) {
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            alarm(SECONDS_TO_A_HANG);
            std::raise(SIGINT);
            std::exit(0);
        }
        int status = -1;
        waitpid(grandchild, &status, 0);
        if (status != 0) {
            return 96;
        }
    }
    return 7;
}

// The forking thread is not the one that waits; in the child nobody does, and a request must not think so.
int afterForksWhileTheLoopWaits()
{
    inBackground([] {
        for (int i = 0; i < 4; ++i) {
            pauseAtRandom();
            const pid_t grandchild = fork();
            if (grandchild == 0) {
                std::signal(SIGALRM, [](int) { _exit(0); });
                ualarm(20'000, 0); // well within the first pause of a request that found nobody
                Application::app().exit(0);
                _exit(1);
            }
            int status = -1;
            waitpid(grandchild, &status, 0);
            if (status != 0) {
                _exit(96);
            }
        }
        Application::app().exit(10);
    });
    return waitInLoop(false);
}

// The application's record is destroyed between two of these, so the signals meet every stage of the way down.
struct SlowToDestroy {
    ~SlowToDestroy() { std::this_thread::sleep_for(std::chrono::microseconds(500)); }
} destroyedAfterTheApplication;

using Road = std::function<int()>;

[[noreturn]] void endOn(const Road& road)
{
    alarm(SECONDS_TO_A_HANG);
    int argc = 0;
    char* argv[] = {nullptr};
    if (Application::app().init(&argc, argv, nullptr) != 0) {
        std::exit(EXIT_FAILURE);
    }
    static const SlowToDestroy destroyedBeforeTheApplication;
    std::exit(road());
}

struct Kind {
    Road road;
    std::set<int> statuses;
};

const std::map<std::string, Kind> ROADS = {
    {"sigint", {[] { return bySignal(SIGINT); }, {132}}},
    {"sigterm", {[] { return bySignal(SIGTERM); }, {145}}},
    {"both-signals", {byBothSignals, {132, 145}}},
    {"exit-by-workers", {byWorkers, {3}}},
    {"exit-by-timer", {[] { return byTimer<ExitTimer>(false); }, {11}}},
    {"signal-in-callback", {[] { return byTimer<SignalTimer>(true); }, {132}}},
    {"exit-before-loop", {byExitBeforeTheLoop, {4}}},
    {"signals-on-the-way-down", {withSignalsOnTheWayDown, {5}}},
    {"signal-before-loop", {afterASignalThatNobodyWaitedFor, {6}}},
    {"exit-of-the-process", {bySomebodyElsesExit, {8}}},
    {"fork", {afterForks, {7}}},
    {"fork-while-waiting", {afterForksWhileTheLoopWaits, {10}}},
};

// The number of children that did not end as they should.
int fuzz(const Kind& kind, unsigned firstSeed, unsigned children)
{
    int wrong = 0;
    unsigned started = 0;
    std::map<pid_t, unsigned> running; // to their seeds
    while (started < children || !running.empty()) {
        if (started < children && running.size() < AT_ONCE) {
            seed = firstSeed + started++;
            const pid_t child = fork();
            if (child == 0) {
                endOn(kind.road);
            } else if (child == -1) {
                std::perror("endings: fork");
                return 1;
            }
            running[child] = seed;
            continue;
        }
        int status = 0;
        const pid_t ended = wait(&status);
        if (!WIFEXITED(status) || kind.statuses.count(WEXITSTATUS(status)) == 0) {
            ++wrong;
            std::cout << "seed " << running[ended]
                      << (WIFEXITED(status) ? ": status " + std::to_string(WEXITSTATUS(status))
                                            : ": killed by signal " + std::to_string(WTERMSIG(status)))
                      << std::endl;
        }
        running.erase(ended);
    }
    return wrong;
}

}

int main(int argc, char** argv)
{
    const auto named = argc > 1 ? ROADS.find(argv[1]) : ROADS.end();
    if (named == ROADS.end()) {
        std::cerr << "usage: endings ROAD [FIRST_SEED], where ROAD is one of";
        for (const auto& road : ROADS) {
            std::cerr << " " << road.first;
        }
        std::cerr << std::endl;
        return 2;
    }
    const unsigned children = stressChildren();
    const unsigned firstSeed = argc > 2 ? static_cast<unsigned>(std::stoul(argv[2])) : 1;
    const int wrong = fuzz(named->second, firstSeed, children);
    std::cout << named->first << ": " << children << " children, " << wrong << " ended wrongly" << std::endl;
    return wrong == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
