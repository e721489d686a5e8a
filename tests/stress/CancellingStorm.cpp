// Does a program end that cancels a thread while the handler runs there?

#include "stress/Storm.hpp"

#include <pthread.h>

namespace {

// The handler restarts this call, so that a lost cancellation shows as a hang.
void* readUntilCancelled(void*)
{
    int ends[2] = {};
    char byte = 0;
    while (pipe(ends) == 0 && read(ends[0], &byte, 1) != 0) {
    }
    return nullptr;
}

// The worker shares a processor with the main thread, which gets a higher priority: as soon as the handler on the worker
// releases the loop, the main thread runs and cancels the worker. Without the right to set a priority, only some of the
// cancellations come before the handler returns.
[[noreturn]] void cancelTheWorkerInItsHandler(unsigned seed)
{
    startApplication();
    cpu_set_t processor;
    CPU_ZERO(&processor);
    CPU_SET(sched_getcpu(), &processor);
    sched_setaffinity(0, sizeof processor, &processor);
    pthread_t worker = {};
    pthread_create(&worker, nullptr, readUntilCancelled, nullptr);

    sigset_t forTheWorker = {};
    sigaddset(&forTheWorker, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &forTheWorker, nullptr); // here, and in the thread that sends the signals
    repeatInBackground(seed, [] { kill(getpid(), SIGTERM); });

    sched_param higher = {};
    higher.sched_priority = 1;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &higher);
    const int code = brindle::Application::app().runEventLoop();
    pthread_cancel(worker);
    void* result = nullptr;
    pthread_join(worker, &result);
    const bool isCancelled = result == PTHREAD_CANCELED;
    dprintf(STDERR_FILENO, "runEventLoop() returned %d; is the worker cancelled: %d\n", code, isCancelled);
    _exit(code == 145 && isCancelled ? EXIT_SUCCESS : EXIT_FAILURE);
}

}

TEST(CancellingStorm, EndsWhereTheThreadInTheHandlerIsCancelled)
{
    for (unsigned seed = 1; seed <= stressChildren(); ++seed) {
        ASSERT_EXIT(cancelTheWorkerInItsHandler(seed), testing::ExitedWithCode(EXIT_SUCCESS), "") << "seed " << seed;
    }
}
