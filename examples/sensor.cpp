// sensor: a timer polls two sensors, one after the other. Shows how to destroy an object that a timer uses.

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>
#include <brindle/time/Timer.hpp>
#include <brindle/utility/SystemException.hpp>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;
using brindle::time::Timer;
using brindle::utility::SystemException;

namespace {

class Sensor;

/// Polls one sensor at a time. Never destroyed, because a callback may run after stop().
class Ticker : public Timer {
public:
    using Timer::Timer;

    void attach(Sensor* polled)
    {
        const ScopedLock lock(&mutex);
        sensor = polled;
    }

    /// Afterwards the sensor may be destroyed, because no callback uses it.
    void detach()
    {
        stop();
        const ScopedLock lock(&mutex); // waits for callbacks in flight
        sensor = nullptr;              // a later callback finds no sensor, or the next one
    }

    void onTimeout() override;

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Sensor* sensor = nullptr;
};

/// Attaches itself to the ticker for its lifetime.
class Sensor final {
public:
    Sensor(Ticker& period, std::string called) : ticker(period), name(std::move(called))
    {
        if (ticker.start() != 0) {
            throw SystemException("start the sensor's timer", errno);
        }
        ticker.attach(this); // last, because callbacks poll it from here on
    }

    Sensor(const Sensor&) = delete;
    Sensor& operator=(const Sensor&) = delete;

    ~Sensor() { ticker.detach(); } // first, while every member still exists

    void poll()
    {
        const ScopedLock lock(&mutex);
        ++readings;
        arrival.signal();
    }

    void awaitReading()
    {
        const ScopedLock lock(&mutex);
        while (readings == 0) {
            arrival.wait(&mutex);
        }
        std::cout << name << ": read" << std::endl;
    }

private:
    Ticker& ticker;
    const std::string name;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards the members below
    CondVar arrival;
    int readings = 0;
};

void Ticker::onTimeout()
{
    const ScopedLock lock(&mutex); // one callback at a time
    if (sensor != nullptr) {
        sensor->poll(); // must not destroy the sensor, or wait for the thread that destroys it
    }
}

}

int main()
try {
    static Ticker& ticker = *new Ticker(1);
    for (const char* const name : {"temperature", "pressure"}) {
        Sensor(ticker, name).awaitReading();
    }
    return EXIT_SUCCESS;
} catch (const std::exception& failure) {
    std::cerr << "sensor: " << failure.what() << std::endl;
    return EXIT_FAILURE;
}
