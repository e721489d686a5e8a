#include "StartedApplication.hpp"
#include "support/InterposedCall.hpp"

#include <apr_general.h>
#include <apr_getopt.h>
#include <atomic>
#include <csignal>
#include <ctime>
#include <thread>

namespace {

// Written by the tests.
std::vector<Option*> options;
std::string failingCall; // is made, but reports EINVAL

// Written by the one thread that is inside exit().
long now = 0; // in milliseconds; only sleeps take time
bool isInterrupted = false;

// Written by the thread that gives up second.
std::atomic<bool> secondThreadWaits = false;

int resultOf(const char* call, int result)
{
    return call == failingCall ? EINVAL : result;
}

void expectFailedStart(const char* call, const std::string& text)
{
    failingCall = call;
    EXPECT_EXIT(_exit(startApplication("demo -a", &options)), testing::ExitedWithCode(EINVAL), testing::Eq(text))
        << call;
    std::signal(SIGINT, SIG_IGN);
    startApplication("demo -a", &options);
    EXPECT_TRUE(std::signal(SIGINT, SIG_DFL) == SIG_IGN) << call << ": SIGINT has a handler";
    EXPECT_EQ(-1, app.parseArg()) << call;
    failingCall = "";
}

}

apr_status_t apr_app_initialize(int* count, const char* const** words, const char* const** environment)
{
    return resultOf(__func__, REAL_CALL(apr_app_initialize)(count, words, environment));
}

apr_status_t apr_pool_create_ex(apr_pool_t** pool, apr_pool_t* parent, apr_abortfunc_t abort, apr_allocator_t* from)
{
    return resultOf(__func__, REAL_CALL(apr_pool_create_ex)(pool, parent, abort, from));
}

apr_status_t apr_getopt_init(apr_getopt_t** parser, apr_pool_t* pool, int count, const char* const* words)
{
    return resultOf(__func__, REAL_CALL(apr_getopt_init)(parser, pool, count, words));
}

// What atexit() calls.
extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* object) noexcept
{
    return resultOf(__func__, REAL_CALL(__cxa_atexit)(function, argument, object));
}

// Where ThreadSanitizer brings its own atexit, that one is the library's; elsewhere it is part of each module.
int atexit(void (*function)()) noexcept
{
    return __cxa_atexit(reinterpret_cast<void (*)(void*)>(function), nullptr, nullptr);
}

void apr_terminate()
{
    std::cerr << "APR ends: " << now << " ms\n";
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    *time = {now / 1000, now % 1000 * 1'000'000};
    return clock == CLOCK_MONOTONIC ? 0 : REAL_CALL(clock_gettime)(clock, time);
}

// Each sleep is interrupted once, after 50 ms.
int clock_nanosleep(clockid_t /*clock*/, int /*flags*/, const timespec* end, timespec* /*rest*/)
{
    isInterrupted = !isInterrupted;
    now = isInterrupted ? now + 50 : static_cast<long>(end->tv_sec) * 1000 + end->tv_nsec / 1'000'000;
    return isInterrupted ? EINTR : 0;
}

int pause()
{
    secondThreadWaits = true;
    return REAL_CALL(pause)();
}

TEST(Init, ReportsTheCallThatFailedAndThenLeavesNoHandlersAndNoParser)
{
    apr_initialize(); // makes APR's own pools, so that the next one is the library's
    const std::string message = "Error when initializing application. Invalid argument\n";
    expectFailedStart("apr_app_initialize", message);
    expectFailedStart("apr_pool_create_ex", message);
    expectFailedStart("apr_getopt_init", message);
    expectFailedStart("__cxa_atexit", "APR ends: 0 ms\nINTERNAL ERROR! Unable to register APR cleaning operations.\n");
}

// Such handlers stay installed and let system calls go on.
TEST(Init, InstallsItsHandlersAsSignalDoesAlsoForAnIgnoredSignal)
{
    std::signal(SIGINT, SIG_IGN); // as a shell starts what runs in the background
    std::signal(SIGUSR1, [](int) {});
    ASSERT_EQ(0, startApplication("program", nullptr));
    for (const int signum : {SIGINT, SIGTERM}) {
        struct sigaction usual = {}, installed = {};
        sigaction(SIGUSR1, nullptr, &usual);
        sigaction(signum, nullptr, &installed);
        EXPECT_TRUE(installed.sa_handler != SIG_IGN && installed.sa_handler != SIG_DFL) << "signal " << signum;
        EXPECT_EQ(usual.sa_flags, installed.sa_flags) << "signal " << signum;
    }
}

TEST(Init, LeavesNoSignalBlockedAfterAForkWhereItWasCalledTwice)
{
    startApplication("program", nullptr);
    startApplication("program", nullptr);
    EXPECT_EXIT(_exit(0), testing::ExitedWithCode(0), ""); // forks
    sigset_t blocked = {};
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(0, sigismember(&blocked, SIGINT));
}

// APR ends in the exit handler that init() registers, after that of the program.
TEST(ForcedExitDeathTest, ComesOnceWhereTwoThreadsGiveUpAndExitHandlersMayCallExit)
{
    const auto giveUpTwice = [] {
        alarm(60); // ends a program that hangs
        startApplication("program", nullptr);
        std::atexit([] {
            app.exit(2); // without effect
            std::thread([] { app.exit(3); }).detach();
            while (!secondThreadWaits) {
                std::this_thread::yield();
            }
        });
        app.exit(4);
    };
    const char* const output = "Tried to exit cleanly, but we could never exit the event loop. Please speak to the "
                               "maintainer. Force exit!\nAPR ends: 40000 ms\n";
    EXPECT_EXIT(giveUpTwice(), testing::ExitedWithCode(1), testing::Eq(output));
}
