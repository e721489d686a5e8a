// What processor time does an expiry take, its thread and all?
//
// Timer counts whole seconds; here a second is a millisecond, for it and for the timer without it.

#include "timers.hpp"

#include <brindle/time/Timer.hpp>

#include <csignal>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>

namespace {

Expiries expiries;

class Ours : public brindle::time::Timer {
public:
    Ours() : Timer(1) {}
    void onTimeout() override { expiries.count(); }
};

void ours(benchmark::State& state)
{
    static Ours timer; // a callback may come late
    while (state.KeepRunning()) {
        state.SetIterationTime(expiries.measure([] { timer.start(); }, [] { timer.stop(); }));
    }
}

void bare(benchmark::State& state)
{
    static timer_t timer;
    static pthread_attr_t detached;
    pthread_attr_init(&detached);
    pthread_attr_setdetachstate(&detached, PTHREAD_CREATE_DETACHED);
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD;
    event.sigev_notify_attributes = &detached;
    event.sigev_notify_function = [](sigval) { expiries.count(); };
    const auto start = [&event] {
        const itimerspec period = {{1, 0}, {1, 0}};
        timer_create(CLOCK_REALTIME, &event, &timer);
        timer_settime(timer, 0, &period, nullptr);
    };
    while (state.KeepRunning()) {
        state.SetIterationTime(expiries.measure(start, [] { timer_delete(timer); }));
    }
}

BENCHMARK(ours)->Name("timer expiry/brindle")->Apply(processorTime);
BENCHMARK(bare)->Name("timer expiry/floor")->Apply(processorTime);

}

int timer_settime(timer_t timer, int flags, const itimerspec* period, itimerspec* former) noexcept
{
    static const auto system = reinterpret_cast<decltype(&timer_settime)>(dlsym(RTLD_NEXT, "timer_settime"));
    const auto quick = [](const timespec& time) { return timespec{0, static_cast<long>(time.tv_sec) * 1'000'000}; };
    const itimerspec quicker = {quick(period->it_interval), quick(period->it_value)};
    return system(timer, flags, &quicker, former);
}

BENCHMARK_MAIN();
