// The library calls the functions of this program in place of the system's. They hold it to one timer at a time, and pass the
// calls on. Periods are so long that no timer expires.

#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"

#include <brindle/time/Timer.hpp>

#include <sys/resource.h>
#include <sys/stat.h>

using brindle::time::Timer;

namespace {

// Written by the interposed calls: the period in seconds of the timer that there is.
constexpr long NO_TIMER = -1, DISARMED = 0;
long period = NO_TIMER;

}

int timer_create(clockid_t clock, sigevent* event, timer_t* id) noexcept
{
    EXPECT_EQ(NO_TIMER, period) << "timer_create() while there is a timer";
    EXPECT_EQ(CLOCK_REALTIME, clock);
    const int result = REAL_CALL(timer_create)(clock, event, id);
    period = result == 0 ? DISARMED : NO_TIMER;
    return result;
}

int timer_settime(timer_t id, int flags, const itimerspec* spec, itimerspec* old) noexcept
{
    EXPECT_NE(NO_TIMER, period) << "timer_settime() without a timer";
    EXPECT_EQ(0, flags) << "not a relative time";
    EXPECT_EQ(spec->it_value.tv_sec, spec->it_interval.tv_sec) << "the first period is not as long as the others";
    const int result = REAL_CALL(timer_settime)(id, flags, spec, old);
    period = result == 0 ? spec->it_value.tv_sec : period;
    return result;
}

int timer_delete(timer_t id) noexcept
{
    EXPECT_EQ(DISARMED, period) << "timer_delete() without a disarmed timer";
    period = NO_TIMER;
    return REAL_CALL(timer_delete)(id);
}

TEST(Timer, RunsFromStartToStopOrDestruction)
{
    {
        Timer timer(1000);
        EXPECT_EQ(0, timer.start());
        EXPECT_EQ(1000, period);
        timer.stop();
        timer.stop();
        EXPECT_EQ(NO_TIMER, period);
        EXPECT_EQ(0, timer.restart());
        EXPECT_EQ(1000, period);
    }
    EXPECT_EQ(NO_TIMER, period);
}

TEST(Timer, TakesANewDurationAtTheNextStart)
{
    Timer timer(1000);
    timer.start();
    timer.setDuration(2000);
    EXPECT_EQ(1000, period) << "the period under way has changed";
    timer.start();
    EXPECT_EQ(2000, period);
    timer.setDuration(-1);
    EXPECT_EQ(-1, timer.duration());
    EXPECT_EQ(-1, timer.restart());
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(DISARMED, period);
}

TEST(Timer, RunsOnWhereStartHasNoMemory)
{
    Timer timer(1000);
    timer.start();
    allocations::untilFailure = 1;
    EXPECT_THROW(timer.start(), std::bad_alloc);
    EXPECT_EQ(1000, period);
}

TEST(Timer, LeavesNoTimerAndNoThreadBehindWhereTheSystemHasNoTimerLeft)
{
    rlimit limit = {};
    getrlimit(RLIMIT_SIGPENDING, &limit);
    const rlimit none = {0, limit.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
    Timer timer(1000);
    timer.start();                       // with glibc this makes the thread that serves all timers
    struct stat before = {}, after = {}; // the directory has a link for each thread
    stat("/proc/self/task", &before);
    EXPECT_EQ(-1, timer.start());
    EXPECT_EQ(EAGAIN, errno);
    stat("/proc/self/task", &after);
    EXPECT_EQ(before.st_nlink, after.st_nlink);
    setrlimit(RLIMIT_SIGPENDING, &limit); // or valgrind cannot end the process
}
