// Does a callback ever meet an object that is gone, however late the callback comes?
//
//   timers [SEED]
//
// The idiom of Timer.hpp, many times over: a sensor is made, polled by a ticker that is never destroyed, and destroyed
// at a random moment. A second of the timers lasts 200 microseconds here, and a poll takes up to twice that, so
// callbacks overlap and come late. How many sensors: five times BRINDLE_STRESS_CHILDREN, by default 500. Status 0:
// every poll found its sensor alive and alone; in a build with a sanitizer, that has found nothing either.

#include "StressChildren.hpp"

#include <brindle/threads/ScopedLock.hpp>
#include <brindle/time/Timer.hpp>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <string>

using brindle::threads::ScopedLock;
using brindle::time::Timer;

namespace {

std::atomic<long> polls{0};
std::atomic<long> lateCallbacks{0};
std::atomic<long> faults{0};

void spend(std::chrono::microseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
}

class Sensor;

class Ticker : public Timer {
public:
    Ticker() : Timer(1) {}

    void attach(Sensor* polled)
    {
        const ScopedLock lock(&mutex);
        sensor = polled;
    }

    void detach()
    {
        stop();
        const ScopedLock lock(&mutex);
        sensor = nullptr;
    }

    void onTimeout() override;

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Sensor* sensor = nullptr;
};

class Sensor final {
public:
    Sensor(Ticker& period, std::chrono::microseconds pollTime) : ticker(period), duration(pollTime)
    {
        faults += ticker.start() == 0 ? 0 : 1;
        ticker.attach(this);
    }

    Sensor(const Sensor&) = delete;
    Sensor& operator=(const Sensor&) = delete;

    ~Sensor()
    {
        ticker.detach();
        faults += state == IDLE ? 0 : 1;
        state = DEAD;
    }

    void poll()
    {
        faults += state == IDLE ? 0 : 1;
        state = POLLED;
        spend(duration);
        state = IDLE;
        ++polls;
    }

private:
    enum State { IDLE, POLLED, DEAD };

    Ticker& ticker;
    std::chrono::microseconds duration;
    State state = IDLE;
};

void Ticker::onTimeout()
{
    const ScopedLock lock(&mutex);
    if (sensor == nullptr) {
        ++lateCallbacks;
    } else {
        sensor->poll();
    }
}

}

int main(int argc, char** argv)
{
    std::minstd_rand random(argc > 1 ? static_cast<unsigned>(std::stoul(argv[1])) : 1);
    const unsigned long rounds = 5UL * stressChildren();
    static Ticker& ticker = *new Ticker;
    for (unsigned long round = 0; round < rounds; ++round) {
        const auto sensor = std::make_unique<Sensor>(ticker, std::chrono::microseconds(random() % 400));
        spend(std::chrono::microseconds(random() % 800));
        if (random() % 4 == 0) {
            faults += ticker.restart() == 0 ? 0 : 1;
            spend(std::chrono::microseconds(random() % 400));
        }
    }
    std::cout << rounds << " sensors: " << polls << " polls, " << lateCallbacks << " late callbacks, " << faults
              << " faults" << std::endl;
    return faults == 0 && polls > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
