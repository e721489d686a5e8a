#include "time/TimerImpl.hpp"

#include <cerrno>

namespace brindle::time {

namespace {

// musl makes the thread of a timer before it asks the system for the timer, and leaves the thread behind if there is none
// left. So the system is asked first, for a timer that notifies nothing. The other C libraries need no such question.
int createTimer(sigevent* event, timer_t* id)
{
#ifndef __GLIBC__ // musl; uClibc-ng defines it
    sigevent none = {};
    none.sigev_notify = SIGEV_NONE;
    timer_t question = {};
    if (timer_create(CLOCK_REALTIME, &none, &question) != 0) {
        return -1;
    }
    timer_delete(question);
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
    auto* const cell = new timer_t(); // first, so that nothing has changed when there is no memory for it
    stop();
    impl->timerId.reset(cell);
    if (createTimer(impl->event.get(), cell) != 0) {
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
