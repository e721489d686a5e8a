#pragma once

#include <brindle/time/Timer.hpp>

#include <csignal>
#include <ctime>
#include <pthread.h>

namespace brindle::time {

/// The private part of a Timer: the POSIX timer and the settings of its notification.
class TimerImpl {
public:
    explicit TimerImpl(Timer* timer);
    TimerImpl(const TimerImpl&) = delete;
    TimerImpl& operator=(const TimerImpl&) = delete;
    ~TimerImpl();

    /// Runs on the thread that the system makes for an expiry.
    static void signal_handler(sigval value);

    Timer* owner;               // not owned
    UniquePtr<timer_t> timerId; // empty while the timer is stopped
    pthread_attr_t threadAttr;
    UniquePtr<sigevent> event;
};

}
