// Does a process end, and does each loop return a requested code, under frequent signals and requests? Threads run at
// the same time here, so ThreadSanitizer can watch them.

#include "stress/Storm.hpp"

using brindle::Application;

namespace {

[[noreturn]] void endInAStorm(unsigned seed)
{
    startApplication();
    repeatInBackground(seed, [] { Application::app().exit(7); });
    repeatInBackground(seed * 2, [] { kill(getpid(), SIGINT); });
    repeatInBackground(seed * 3, [] { kill(getpid(), SIGTERM); });
    repeatInBackground(seed * 5, [] { std::exit(EXIT_SUCCESS); });
    while (true) { // the record may be destroyed when the loop is entered, asleep or left
        const int code = Application::app().runEventLoop();
        if (code != 7 && code != 132 && code != 145) {
            dprintf(STDERR_FILENO, "runEventLoop() returned %d, not 7, 132 or 145\n", code);
            _exit(EXIT_FAILURE);
        }
    }
}

}

TEST(EndingStorm, EndsTheProcessAndEachLoopWithARequestedCode)
{
    for (unsigned seed = 1; seed <= stressChildren(); ++seed) {
        ASSERT_EXIT(endInAStorm(seed), testing::ExitedWithCode(EXIT_SUCCESS), "") << "seed " << seed;
    }
}
