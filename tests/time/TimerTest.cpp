#include "StandIns.hpp"
#include "support/EverySequence.hpp"

#include <brindle/time/Timer.hpp>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <sys/stat.h>

using brindle::time::Timer;

namespace {

char failing = ' ';       // the call that fails: to (c)reate a timer or to (s)et it
constexpr long NONE = -2; // no timer
long period = NONE;       // of the one timer that there may be, 0 while it is disarmed

}

// What the library calls in place of the system's.

int timer_create(clockid_t clock, sigevent* event, timer_t* id) noexcept
{
    EXPECT_TRUE(clock == CLOCK_REALTIME && period == NONE);
    errno = EAGAIN;
    const int result = failing == 'c' ? -1 : REAL_CALL(timer_create)(clock, event, id);
    period = result == 0 ? 0 : NONE;
    return result;
}

int timer_settime(timer_t id, int flags, const itimerspec* spec, itimerspec* old) noexcept
{
    EXPECT_TRUE(period != NONE && flags == 0 && spec->it_interval.tv_sec == spec->it_value.tv_sec);
    period = static_cast<long>(spec->it_value.tv_sec);
    errno = ENOTSUP;
    return failing == 's' ? -1 : REAL_CALL(timer_settime)(id, flags, spec, old);
}

int timer_delete(timer_t id) noexcept
{
    EXPECT_EQ(0, period);
    period = NONE;
    return REAL_CALL(timer_delete)(id);
}

// Every sequence of up to four steps: a stop(), a start, and starts without a timer, arming and memory. Every step has a
// duration of its own, and the timer's destruction ends them.
TEST(Timer, HasOneTimerFromStartToStopWithTheDurationOfItsStart)
{
    allocations::failEach([] { const Timer timer(1); }, [] {});
    forEverySequence(std::string("-+csm"), 4, [](const std::string& steps) {
        Timer timer(0);
        const auto start = steps.size() % 2 == 0 ? &Timer::start : &Timer::restart;
        long expected = NONE;
        for (std::size_t position = 0; position < steps.size(); ++position) {
            failing = steps[position];
            const int duration = 1'000'000 * (2 - static_cast<int>(position));
            timer.setDuration(duration);
            if (failing == '-') {
                timer.stop();
                expected = NONE;
            } else if (failing == 'm') {
                allocations::untilFailure = 1;
                EXPECT_THROW((timer.*start)(), std::bad_alloc);
                expected = start == &Timer::restart ? NONE : expected; // which stops the timer first
            } else {
                const int error = failing == 'c' ? EAGAIN : failing == 's' ? ENOTSUP : duration < 0 ? EINVAL : 0;
                EXPECT_EQ(error, (timer.*start)() == 0 ? 0 : errno);
                expected = failing == 'c' ? NONE : duration;
            }
            ASSERT_TRUE(expected == period && duration == timer.duration()) << steps << ", step " << position;
        }
    });
}

TEST(Timer, LeavesNoThreadBehindWhereTheSystemHasNoTimerLeft)
{
    rlimit usual = {};
    getrlimit(RLIMIT_SIGPENDING, &usual);
    const rlimit none = {0, usual.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
    struct stat before = {}, after = {}; // the directory has a link for each thread
    Timer timer(1);
    EXPECT_EQ(-1, timer.start()); // with glibc this makes the thread that serves all timers
    stat("/proc/self/task", &before);
    EXPECT_EQ(-1, timer.start());
    stat("/proc/self/task", &after);
    EXPECT_EQ(before.st_nlink, after.st_nlink);
    setrlimit(RLIMIT_SIGPENDING, &usual); // or valgrind cannot end the process
}
