// Does a process end, and each loop with a code that was asked for, whatever signals, requests and cancellations meet?
// Threads really run at once here, so this is what ThreadSanitizer watches.

#include "StandIns.hpp"

#include <brindle/Application.hpp>

#include <csignal>
#include <pthread.h>
#include <random>
#include <sched.h>
#include <thread>
#include <unistd.h>

using brindle::Application;

namespace {

// A thread that does the same until the process is gone, after pauses at random.
template <typename Action>
pthread_t inBackground(unsigned seed, Action action)
{
    std::thread thread([=] {
        for (std::minstd_rand random(seed);; action()) {
            usleep(static_cast<useconds_t>(random() % 200));
        }
    });
    const pthread_t id = thread.native_handle();
    thread.detach();
    return id;
}

void startTheApplication()
{
    alarm(SECONDS_TO_A_HANG);
    int argc = 0;
    char* argv[] = {nullptr};
    Application::app().init(&argc, argv, nullptr);
}

[[noreturn]] void endInAStorm(unsigned seed)
{
    startTheApplication();
    for (const pthread_t target : {pthread_self(), inBackground(seed, [] { Application::app().exit(7); })}) {
        inBackground(seed * 2, [target] { pthread_kill(target, SIGINT); });
        // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread): it has a handler
        inBackground(seed * 3, [target] { pthread_kill(target, SIGTERM); });
    }
    inBackground(seed * 5, [] { std::exit(EXIT_SUCCESS); });
    while (true) { // the loop is entered, left and asleep while the record goes
        const int code = Application::app().runEventLoop();
        code == 7 || code == 132 || code == 145 ? void() : _exit(EXIT_FAILURE);
    }
}

void runOnOneProcessor()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(sched_getcpu(), &processors);
    sched_setaffinity(0, sizeof processors, &processors);
}

// In a call that goes on after the handler, or a cancellation that is lost would not show.
void* readUntilCancelled(void*)
{
    int ends[2] = {};
    char byte = 0;
    while (pipe(ends) == 0 && read(ends[0], &byte, 1) != 0) {
    }
    return nullptr;
}

// The handler on the worker releases the loop, and the main thread cancels the worker. It does so before the handler has
// returned, because it has the higher priority. Without the right to that it does so sometimes.
[[noreturn]] void cancelTheInterruptedThread()
{
    startTheApplication();
    runOnOneProcessor();
    pthread_t worker = {};
    pthread_create(&worker, nullptr, readUntilCancelled, nullptr);
    sigset_t onlyForTheWorker = {};
    sigaddset(&onlyForTheWorker, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &onlyForTheWorker, nullptr); // here, and so in the thread that sends the signals
    inBackground(1, [] { kill(getpid(), SIGTERM); });
    sched_param higher = {};
    higher.sched_priority = 1;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &higher);
    const int code = Application::app().runEventLoop();
    pthread_cancel(worker);
    void* result = nullptr;
    pthread_join(worker, &result);
    _exit(code == 145 && result == PTHREAD_CANCELED ? EXIT_SUCCESS : EXIT_FAILURE);
}

}

class Storm : public testing::TestWithParam<unsigned> {};

TEST_P(Storm, EndsEveryProcessAndEveryLoopWithACodeThatWasAskedFor)
{
    for (unsigned seed = GetParam(); seed <= stressChildren(); seed += 2) {
        ASSERT_EXIT(endInAStorm(seed), testing::ExitedWithCode(EXIT_SUCCESS), "") << "seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(OddAndEven, Storm, testing::Values(1U, 2U));

TEST(CancellingStorm, CancelsAThreadThatRunsTheHandler)
{
    for (unsigned child = 0; child < stressChildren(); ++child) {
        ASSERT_EXIT(cancelTheInterruptedThread(), testing::ExitedWithCode(EXIT_SUCCESS), "") << child;
    }
}
