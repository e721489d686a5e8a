#pragma once

#include <brindle/time/Timer.hpp>

#include <csignal>
#include <ctime>
#include <pthread.h>

namespace brindle::time {

/// What a Timer keeps from its users: the POSIX timer and how it makes itself heard.
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
