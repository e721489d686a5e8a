#include "time/TimerImpl.hpp"

#include <cerrno>

namespace brindle::time {

Timer::Timer(int seconds) : durationSeconds(seconds), impl(new TimerImpl(this)) {}

Timer::~Timer()
{
    stop();
}

void Timer::onTimeout() {}

int Timer::start()
{
    auto* const cell = new timer_t(); // first, so that nothing has changed when there is no memory for it
    stop();
    impl->timerId.reset(cell);
    if (timer_create(CLOCK_REALTIME, impl->event.get(), cell) != 0) {
        const int error = errno;
        impl->timerId.clean(); // it holds no timer: nobody may arm or delete what is in it
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
    // For a timer that exists neither call fails.
    timer_settime(*impl->timerId, 0, &disarmed, nullptr);
    timer_delete(*impl->timerId);
    impl->timerId.clean();
}

int Timer::restart()
{
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
