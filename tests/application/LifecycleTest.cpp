#include "RealCall.hpp"

#include <brindle/Application.hpp>

#include <apr_errno.h>
#include <apr_general.h>
#include <apr_getopt.h>
#include <apr_pools.h>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <iostream>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

using brindle::Application;

namespace {

enum class Step { none, apr, pool, parser, cleaning };

Step failingStep = Step::none;
bool insideInit = false;

bool fails(Step step)
{
    return insideInit && failingStep == step;
}

}

// The start-up's calls pass through here, so that a test can have each of them fail.
extern "C" {

apr_status_t apr_app_initialize(int* argc, char const* const** argv, char const* const** env)
{
    if (fails(Step::apr)) {
        return APR_ENOPOOL;
    }
    insideInit = false; // APR makes a pool of its own here
    const apr_status_t status = REAL_CALL(apr_app_initialize)(argc, argv, env);
    insideInit = true;
    return status;
}

apr_status_t apr_pool_create_ex(apr_pool_t** pool, apr_pool_t* parent, apr_abortfunc_t abort,
                                apr_allocator_t* allocator)
{
    return fails(Step::pool) ? APR_ENOMEM : REAL_CALL(apr_pool_create_ex)(pool, parent, abort, allocator);
}

apr_status_t apr_getopt_init(apr_getopt_t** state, apr_pool_t* pool, int argc, const char* const* argv)
{
    return fails(Step::parser) ? APR_EGENERAL : REAL_CALL(apr_getopt_init)(state, pool, argc, argv);
}

void apr_terminate()
{
    std::cerr << "APR ends\n";
    REAL_CALL(apr_terminate)();
}

int __cxa_atexit(void (*function)(void*), void* argument, void* object) noexcept
{
    return fails(Step::cleaning) ? -1 : REAL_CALL(__cxa_atexit)(function, argument, object);
}

// Where ThreadSanitizer brings its own atexit, that one is the library's; elsewhere it is part of each module.
int atexit(void (*function)()) noexcept
{
    return __cxa_atexit(reinterpret_cast<void (*)(void*)>(function), nullptr, nullptr);
}
}

#define START_FAILED "Error when initializing application. "

TEST(Init, ReportsTheStepThatFailedAndInstallsNoHandlerThen)
{
    Application& app = Application::app();
    int argc = 0;
    char* argv[] = {nullptr};
    std::vector<brindle::Option*> noOptions;
    const std::tuple<Step, int, const char*> starts[] = {
        {Step::apr, APR_ENOPOOL, START_FAILED "A new pool could not be created.\n"},
        {Step::pool, APR_ENOMEM, START_FAILED "Cannot allocate memory\n"},
        {Step::parser, APR_EGENERAL, START_FAILED "Internal error (specific information not available)\n"},
        {Step::cleaning, -1, "APR ends\nINTERNAL ERROR! Unable to register APR cleaning operations.\n"},
    };
    for (const auto& [step, result, message] : starts) {
        testing::internal::CaptureStderr();
        failingStep = step;
        insideInit = true;
        EXPECT_EQ(result, app.init(&argc, argv, step == Step::parser ? &noOptions : nullptr));
        insideInit = false;
        EXPECT_EQ(message, testing::internal::GetCapturedStderr());
        for (const int signal : {SIGINT, SIGTERM}) {
            struct sigaction installed = {};
            sigaction(signal, nullptr, &installed);
            EXPECT_TRUE(installed.sa_handler == SIG_DFL);
        }
    }
}

// How requests and signals end a waiting loop is shown by fuzz/endings, which tries their timing.
TEST(ExitRequest, EndsTheProcessAndAprWhenNobodyEverWaits)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            int argc = 0;
            char* argv[] = {nullptr};
            Application::app().init(&argc, argv, nullptr);
            std::thread worker([] { Application::app().exit(3); });
            while (true) {
                pthread_kill(worker.native_handle(), SIGINT); // must not use up its patience
                usleep(100);
            }
        },
        testing::ExitedWithCode(1),
        "^Tried to exit cleanly, but we could never exit the event loop\\. "
        "Please speak to the maintainer\\. Force exit!\nAPR ends\n$");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}
