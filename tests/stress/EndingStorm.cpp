// Does a process end, and each loop with a code that was asked for, under frequent signals and requests? Threads really run
// at once here, so this is what ThreadSanitizer watches.

#include "StandIns.hpp"

#include <brindle/Application.hpp>

#include <csignal>
#include <random>
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

[[noreturn]] void endInAStorm(unsigned seed)
{
    alarm(SECONDS_TO_A_HANG);
    int argc = 0;
    char* argv[] = {nullptr};
    Application::app().init(&argc, argv, nullptr);
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

}

class Storm : public testing::TestWithParam<unsigned> {};

TEST_P(Storm, EndsEveryProcessAndEveryLoopWithACodeThatWasAskedFor)
{
    for (unsigned seed = GetParam(); seed <= stressChildren(); seed += 2) {
        ASSERT_EXIT(endInAStorm(seed), testing::ExitedWithCode(EXIT_SUCCESS), "") << "seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(OddAndEven, Storm, testing::Values(1U, 2U));
