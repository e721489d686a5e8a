// The calls that the daemon needs, without a library: signals are blocked, and the main thread waits for one.

#include "Arguments.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <unistd.h>

int main(int argc, char** argv)
{
    const Arguments arguments(argc, argv);
    if (arguments.entries.count("interval") == 0) {
        return EXIT_FAILURE;
    }
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD;
    event.sigev_notify_function = [](sigval) {};
    timer_t timer = {};
    const itimerspec period = {{1, 0}, {1, 0}};
    timer_create(CLOCK_REALTIME, &event, &timer);
    timer_settime(timer, 0, &period, nullptr);
    if (!arguments.waits) {
        std::thread([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            kill(getpid(), SIGUSR1);
        }).detach();
    }
    int signal = 0;
    sigwait(&ends, &signal);
    return signal == SIGUSR1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
