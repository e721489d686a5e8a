#include "timers.hpp"

#include <Poco/Timer.h>

namespace {

class Callback {
public:
    void onTimer(Poco::Timer&) { expiries.count(); }
    Expiries expiries;
};

void pocoTimer(benchmark::State& state)
{
    Callback callback;
    while (state.KeepRunning()) {
        Poco::Timer timer(1, 1);
        state.SetIterationTime(callback.expiries.measure(
            [&] { timer.start(Poco::TimerCallback<Callback>(callback, &Callback::onTimer)); }, [&] { timer.stop(); }));
    }
}

BENCHMARK(pocoTimer)->Name("timer expiry/POCO")->Apply(processorTime);

}
