#include <atomic>
#include <csignal>
#include <ctime>
#include <iostream>
#include <unistd.h>

namespace {

const int WANTED = 20;
std::atomic<int> expiries{0};

void count(sigval)
{
    expiries++;
}

}

// Checks whether a SIGEV_THREAD timer of 50 ms expires 20 times within ten seconds.
int main()
{
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD;
    event.sigev_notify_function = count;
    timer_t timer;
    const itimerspec period = {{0, 50'000'000}, {0, 50'000'000}};
    const int created = timer_create(CLOCK_REALTIME, &event, &timer);
    const int set = created == 0 ? timer_settime(timer, 0, &period, nullptr) : -1;
    for (int second = 0; second < 10 && set == 0 && expiries < WANTED; second++) {
        sleep(1);
    }
    std::cout << "probe: timer_create " << created << ", timer_settime " << set << ", " << expiries << " of " << WANTED
              << " expiries" << std::endl;
    return expiries < WANTED ? 1 : 0;
}
