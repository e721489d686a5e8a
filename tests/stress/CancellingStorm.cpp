// Does a shutdown end in order that cancels its threads while the handler still runs on one of them?

#include "StandIns.hpp"

#include <brindle/Application.hpp>

#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

using brindle::Application;

namespace {

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
    alarm(SECONDS_TO_A_HANG);
    int argc = 0;
    char* argv[] = {nullptr};
    Application::app().init(&argc, argv, nullptr);
    runOnOneProcessor();
    pthread_t worker = {};
    pthread_create(&worker, nullptr, readUntilCancelled, nullptr);
    sigset_t onlyForTheWorker = {};
    sigaddset(&onlyForTheWorker, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &onlyForTheWorker, nullptr); // here, and so in the thread that sends the signals
    std::thread([] {
        while (true) {
            usleep(100);
            kill(getpid(), SIGTERM);
        }
    }).detach();
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

TEST(CancellingStorm, CancelsAThreadThatRunsTheHandler)
{
    for (unsigned child = 0; child < stressChildren(); ++child) {
        ASSERT_EXIT(cancelTheInterruptedThread(), testing::ExitedWithCode(EXIT_SUCCESS), "") << child;
    }
}
