#include "timers.hpp"

#include <asio.hpp>
#include <chrono>
#include <functional>
#include <thread>

namespace {

void asioTimer(benchmark::State& state)
{
    Expiries expiries;
    while (state.KeepRunning()) {
        asio::io_context loop;
        asio::steady_timer timer(loop);
        std::thread runner;
        std::function<void(const std::error_code&)> again = [&](const std::error_code& error) {
            if (!error) {
                expiries.count();
                timer.expires_at(timer.expiry() + std::chrono::milliseconds(1));
                timer.async_wait(again);
            }
        };
        timer.expires_after(std::chrono::milliseconds(1));
        timer.async_wait(again);
        state.SetIterationTime(
            expiries.measure([&] { runner = std::thread([&] { loop.run(); }); }, [&] { loop.stop(); }));
        runner.join();
    }
}

BENCHMARK(asioTimer)->Name("timer expiry/asio")->Apply(processorTime);

}
