#include "time/TimerImpl.hpp"

#include <cerrno>

namespace brindle::time {

namespace {

// musl starts a timer's thread before it creates the timer, and leaves that thread behind when the creation fails. So
// a timer that notifies nothing is created first, to learn whether the system has one left. Other C libraries need no
// probe.
int createTimer(sigevent* event, timer_t* id)
{
#ifndef __GLIBC__ // musl; uClibc-ng defines it
    sigevent none = {};
    none.sigev_notify = SIGEV_NONE;
    timer_t probe = {};
    if (timer_create(CLOCK_REALTIME, &none, &probe) != 0) {
        return -1;
    }
    timer_delete(probe);
#endif
    return timer_create(CLOCK_REALTIME, event, id);
}

}

Timer::Timer(int seconds) : durationSeconds(seconds), impl(new TimerImpl(this)) {}

Timer::~Timer()
{
    stop();
}

void Timer::onTimeout() {}

int Timer::start()
{
    auto* const cell = new timer_t(); // first, so that a std::bad_alloc changes nothing
    stop();
    impl->timerId.reset(cell);
    if (createTimer(impl->event.get(), cell) != 0) {
        const int error = errno;
        impl->timerId.clean(); // the cell holds no timer that stop() could delete
        errno = error;
        return -1;
    }
    const timespec period = {durationSeconds, 0};
    const itimerspec periodic = {period, period};
    return timer_settime(*cell, 0, &periodic, nullptr);
}

void Timer::stop()
{
    if (!impl->timerId) {
        return;
    }
    const itimerspec disarmed = {};
    // Neither call fails for a timer that exists.
    timer_settime(*impl->timerId, 0, &disarmed, nullptr);
    timer_delete(*impl->timerId);
    impl->timerId.clean();
}

int Timer::restart()
{
    stop();
    return start();
}

void Timer::setDuration(int seconds)
{
    durationSeconds = seconds;
}

int Timer::duration() const
{
    return durationSeconds;
}

}
