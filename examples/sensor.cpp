// sensor: reads two sensors, one after the other, on a timer's callbacks; and shows how to destroy what a timer works for.

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

/// Polls one sensor at a time. Never destroyed, since a callback may come late.
class Ticker : public Timer {
public:
    using Timer::Timer;

    void attach(Sensor* polled)
    {
        const ScopedLock lock(&mutex);
        sensor = polled;
    }

    /// The sensor may be destroyed after this: no callback uses it, and none will.
    void detach()
    {
        stop();
        const ScopedLock lock(&mutex); // waits for callbacks that have begun
        sensor = nullptr;              // one that comes later finds nothing, or the next sensor
    }

    void onTimeout() override;

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Sensor* sensor = nullptr;
};

/// Comes and goes.
class Sensor final {
public:
    Sensor(Ticker& period, std::string called) : ticker(period), name(std::move(called))
    {
        if (ticker.start() != 0) {
            throw SystemException("start the sensor's timer", errno);
        }
        ticker.attach(this); // last of all: it may be polled from here on
    }

    Sensor(const Sensor&) = delete;
    Sensor& operator=(const Sensor&) = delete;

    ~Sensor() { ticker.detach(); } // first of all, while every member is still there

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
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows
    CondVar arrival;
    int readings = 0;
};

void Ticker::onTimeout()
{
    const ScopedLock lock(&mutex); // one callback at a time
    if (sensor != nullptr) {
        sensor->poll(); // must not destroy its sensor, nor wait for who does
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
