#include "Arguments.hpp"

#include <asio.hpp>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <thread>

int main(int argc, char** argv)
{
    const Arguments arguments(argc, argv);
    if (arguments.entries.count("interval") == 0) {
        return EXIT_FAILURE;
    }
    asio::io_context loop;
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    int status = EXIT_SUCCESS;
    signals.async_wait([&](const std::error_code&, int signal) {
        status = signal;
        loop.stop();
    });
    asio::steady_timer timer(loop);
    std::function<void(const std::error_code&)> again = [&](const std::error_code& error) {
        if (!error) {
            timer.expires_after(std::chrono::seconds(1));
            timer.async_wait(again);
        }
    };
    again({});
    std::thread worker;
    if (!arguments.waits) {
        worker = std::thread([&loop] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            loop.stop();
        });
    }
    loop.run();
    if (worker.joinable()) {
        worker.join();
    }
    return status;
}
