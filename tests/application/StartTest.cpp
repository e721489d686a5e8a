#include "RealCall.hpp"

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <apr_errno.h>
#include <apr_general.h>
#include <apr_getopt.h>
#include <apr_pools.h>
#include <csignal>
#include <gtest/gtest.h>

using brindle::Application;

namespace {

enum class Step { none, apr, pool, parser, cleaning };

Step failingStep = Step::none;
bool insideInit = false;
int terminations = 0;

bool fails(Step step)
{
    return insideInit && failingStep == step;
}

}

// The start-up's calls pass through here, so that a test can have each of them fail.
extern "C" {

apr_status_t apr_app_initialize(int* argc, char const* const** argv, char const* const** env)
{
    return fails(Step::apr) ? APR_ENOPOOL : REAL_CALL(apr_app_initialize)(argc, argv, env);
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
    ++terminations;
    REAL_CALL(apr_terminate)();
}

int __cxa_atexit(void (*function)(void*), void* argument, void* object) noexcept
{
    return fails(Step::cleaning) ? -1 : REAL_CALL(__cxa_atexit)(function, argument, object);
}

// Where ThreadSanitizer brings its own atexit, that one is the library's; elsewhere it is part of each
// module.
int atexit(void (*function)()) noexcept
{
    return __cxa_atexit(reinterpret_cast<void (*)(void*)>(function), nullptr, nullptr);
}
}

namespace {

struct Start {
    Step failingStep;
    int result;
    const char* message;
    int terminations;
};

class Init : public testing::TestWithParam<Start> {};

}

TEST_P(Init, ReportsTheStepThatFailedAndInstallsNoHandlerThen)
{
    int argc = 0;
    char* argv[] = {nullptr};
    std::vector<brindle::Option*> options;
    Application& app = Application::app();

    testing::internal::CaptureStderr();
    failingStep = GetParam().failingStep;
    insideInit = true;
    const int result = app.init(&argc, argv, &options);
    insideInit = false;

    EXPECT_EQ(GetParam().result, result);
    EXPECT_EQ(GetParam().message, testing::internal::GetCapturedStderr());
    EXPECT_EQ(GetParam().terminations, terminations);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction installed = {};
        sigaction(signal, nullptr, &installed);
        EXPECT_EQ(result != 0, installed.sa_handler == SIG_DFL);
    }
}

#define START_FAILED "Error when initializing application. "
INSTANTIATE_TEST_SUITE_P(
    AtEachStep, Init,
    testing::Values(Start{Step::none, 0, "", 0},
                    Start{Step::apr, APR_ENOPOOL, START_FAILED "A new pool could not be created.\n", 0},
                    Start{Step::pool, APR_ENOMEM, START_FAILED "Cannot allocate memory\n", 0},
                    Start{Step::parser, APR_EGENERAL,
                          START_FAILED "Internal error (specific information not available)\n", 0},
                    Start{Step::cleaning, -1, "INTERNAL ERROR! Unable to register APR cleaning operations.\n", 1}));
