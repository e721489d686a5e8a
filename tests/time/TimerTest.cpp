#include "Allocations.hpp"
#include "RealCall.hpp"

#include <brindle/time/Timer.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fstream>
#include <iterator>
#include <pthread.h>
#include <set>
#include <string>

using brindle::time::Timer;

namespace {

enum class Call { NONE, ALLOCATION, CREATE, SETTIME };

Call failingCall = Call::NONE;
std::set<timer_t> existing; // what timer_create made and timer_delete has not deleted
itimerspec lastSpec = {};

}

// The library's calls pass through here.
extern "C" {

int timer_create(clockid_t clock, sigevent* event, timer_t* id) noexcept
{
    int detachState = -1;
    const auto* attributes = static_cast<pthread_attr_t*>(event->sigev_notify_attributes); // a void* in uClibc
    pthread_attr_getdetachstate(attributes, &detachState);
    EXPECT_TRUE(clock == CLOCK_REALTIME && detachState == PTHREAD_CREATE_DETACHED);
    errno = EAGAIN;
    const int result = failingCall == Call::CREATE ? -1 : REAL_CALL(timer_create)(clock, event, id);
    if (result == 0) {
        existing.insert(*id);
    }
    return result;
}

int timer_settime(timer_t id, int flags, const itimerspec* spec, itimerspec* old) noexcept
{
    EXPECT_EQ(1, existing.count(id));
    lastSpec = *spec;
    errno = ENOTSUP;
    const long hundredths = static_cast<long>(spec->it_value.tv_sec); // not to wait long
    const timespec period = {hundredths / 100, hundredths % 100 * 10'000'000};
    const itimerspec quick = {period, period};
    return failingCall == Call::SETTIME ? -1 : REAL_CALL(timer_settime)(id, flags, &quick, old);
}

int timer_delete(timer_t id) noexcept
{
    EXPECT_TRUE(existing.erase(id) == 1 && lastSpec.it_value.tv_sec == 0);
    return REAL_CALL(timer_delete)(id);
}
}

namespace {

// As the kernel counts them; where a stand-in takes the kernel's place, by what was made and deleted.
std::ptrdiff_t timersOfThisProcess()
{
#ifdef __SANITIZE_THREAD__
    return static_cast<std::ptrdiff_t>(existing.size());
#else
    std::ifstream list("/proc/self/timers");
    EXPECT_TRUE(list.is_open());
    return std::count(std::istream_iterator<std::string>(list), {}, "ID:");
#endif
}

int restartWith(Call failing, Timer& timer)
{
    failingCall = failing;
    allocations::untilFailure = failing == Call::ALLOCATION ? 1 : 0;
    int error = ENOMEM;
    try {
        error = timer.restart() == 0 ? 0 : errno;
    } catch (const std::bad_alloc&) {
    }
    failingCall = Call::NONE;
    return error;
}

constexpr std::ptrdiff_t UNCHANGED = 2;

struct Step {
    int (*take)(Timer&); // returns 0 or the errno of a failure
    int result;
    std::ptrdiff_t timersAfterwards;
} const STEPS[] = {
    {[](Timer& timer) { return timer.start(); }, 0, 1},
    {[](Timer& timer) { return timer.restart(); }, 0, 1},
    {[](Timer& timer) { return timer.stop(), 0; }, 0, 0},
    {[](Timer& timer) { return restartWith(Call::CREATE, timer); }, EAGAIN, 0},
    {[](Timer& timer) { return restartWith(Call::SETTIME, timer); }, ENOTSUP, 1},
    {[](Timer& timer) { return restartWith(Call::ALLOCATION, timer); }, ENOMEM, UNCHANGED},
};

// Never destroyed: a callback may come late.
struct Pair : Timer {
    Pair() : Timer(1) { pthread_barrier_init(&together, nullptr, 3); }

    void onTimeout() override
    {
        EXPECT_EQ(0, pthread_equal(starter, pthread_self()));
        if (++callbacks <= 2) {
            pthread_barrier_wait(&together); // for the other callback, and for the test
        }
    }

    pthread_barrier_t together = {};
    const pthread_t starter = pthread_self();
    std::atomic<int> callbacks{0};
};

}

// Every sequence of four steps, each ended by the timer's destruction.
TEST(Timer, NeverLeavesOrDeletesATimerThatIsNotItsOwn)
{
    constexpr int COUNT = std::size(STEPS);
    for (int script = 0; script < COUNT * COUNT * COUNT * COUNT; ++script) {
        {
            Timer timer(3600);
            std::ptrdiff_t expected = 0;
            for (int rest = script, step = 1; step <= 4; ++step, rest /= COUNT) {
                const auto& [take, result, timersAfterwards] = STEPS[rest % COUNT];
                ASSERT_EQ(result, take(timer)) << "script " << script << ", step " << step;
                expected = timersAfterwards == UNCHANGED ? expected : timersAfterwards;
                ASSERT_EQ(expected, timersOfThisProcess()) << "script " << script << ", step " << step;
            }
        }
        ASSERT_EQ(0, timersOfThisProcess()) << "script " << script;
    }
}

TEST(Timer, KeepsItsPeriodUntilItIsStartedAgain)
{
    Timer timer(3600);
    EXPECT_EQ(0, timer.start());
    for (const int duration : {1800, 0, -1}) {
        const auto before = lastSpec.it_value.tv_sec;
        timer.setDuration(duration);
        EXPECT_EQ(duration, timer.duration());
        EXPECT_EQ(before, lastSpec.it_value.tv_sec);
        EXPECT_EQ(duration < 0 ? EINVAL : 0, restartWith(Call::NONE, timer));
        EXPECT_EQ(duration, lastSpec.it_value.tv_sec);
        EXPECT_EQ(duration, lastSpec.it_interval.tv_sec);
    }
}

TEST(Timer, RunsCallbacksAtOnceOnThreadsOfTheirOwn)
{
    static Pair& pair = *new Pair;
    EXPECT_EQ(0, pair.start());
    pthread_barrier_wait(&pair.together);
    pair.stop();
    EXPECT_EQ(0, timersOfThisProcess());
}

TEST(Timer, ReleasesAPartlyMadeRecord)
{
    allocations::failEach([] { const Timer timer(1); }, [] {});
}
