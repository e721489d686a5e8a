// The library calls the functions of this program in place of the system's. They hold it to one timer at a time, and pass the
// calls on. Periods are so long that no timer expires.

#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"

#include <brindle/time/Timer.hpp>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>

using brindle::time::Timer;

namespace {

// Written by the interposed calls: the period in seconds of the timer that there is, 0 while it is disarmed.
std::optional<long> period;
constexpr std::optional<long> NO_TIMER = std::nullopt;
constexpr std::optional<long> DISARMED = 0;

// The directory has a link for each thread.
nlink_t threadsOfThisProcess()
{
    struct stat tasks = {};
    stat("/proc/self/task", &tasks);
    return tasks.st_nlink;
}

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

TEST(Timer, RunsFromStartToStop)
{
    Timer timer(1000);
    EXPECT_EQ(NO_TIMER, period);
    EXPECT_EQ(0, timer.start());
    EXPECT_EQ(1000, period);
    timer.stop();
    timer.stop();
    EXPECT_EQ(NO_TIMER, period);
    EXPECT_EQ(0, timer.restart());
    EXPECT_EQ(1000, period);
}

TEST(Timer, IsStoppedByItsDestruction)
{
    {
        Timer timer(1000);
        timer.start();
    }
    EXPECT_EQ(NO_TIMER, period);
}

TEST(Timer, TakesANewDurationAtTheNextStart)
{
    Timer timer(1000);
    timer.start();
    timer.setDuration(2000);
    EXPECT_EQ(2000, timer.duration());
    EXPECT_EQ(1000, period) << "the period under way has changed";
    timer.start();
    EXPECT_EQ(2000, period);
    timer.setDuration(0);
    EXPECT_EQ(0, timer.restart());
    EXPECT_EQ(0, timer.duration());
    EXPECT_EQ(DISARMED, period);
}

TEST(Timer, ReportsANegativeDurationAndNeverExpires)
{
    Timer timer(-1000);
    EXPECT_EQ(-1, timer.start());
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(DISARMED, period);
}

TEST(Timer, WithoutMemoryIsAsItWasAfterStartAndStoppedAfterRestart)
{
    allocations::failEach([] { const Timer timer(1000); }, [] {});
    Timer timer(1000);
    timer.start();
    allocations::untilFailure = 1;
    EXPECT_THROW(timer.start(), std::bad_alloc);
    EXPECT_EQ(1000, period);
    allocations::untilFailure = 1;
    EXPECT_THROW(timer.restart(), std::bad_alloc);
    EXPECT_EQ(NO_TIMER, period);
}

TEST(Timer, LeavesNothingBehindWhereTheSystemHasNoTimerLeft)
{
    rlimit usual = {};
    getrlimit(RLIMIT_SIGPENDING, &usual);
    const rlimit none = {0, usual.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
    Timer timer(1000);
    EXPECT_EQ(-1, timer.start()); // with glibc this makes the thread that serves all timers
    const nlink_t threads = threadsOfThisProcess();
    EXPECT_EQ(-1, timer.restart());
    EXPECT_EQ(EAGAIN, errno);
    EXPECT_EQ(threads, threadsOfThisProcess());
    EXPECT_EQ(NO_TIMER, period);
    setrlimit(RLIMIT_SIGPENDING, &usual); // or valgrind cannot end the process
}
