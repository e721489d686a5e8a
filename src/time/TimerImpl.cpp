#include "time/TimerImpl.hpp"

namespace brindle::time {

TimerImpl::TimerImpl(Timer* timer) : owner(timer), event(new sigevent())
{
    pthread_attr_init(&threadAttr);
    pthread_attr_setdetachstate(&threadAttr, PTHREAD_CREATE_DETACHED);

    event->sigev_notify = SIGEV_THREAD;
    event->sigev_notify_function = signal_handler;
    event->sigev_notify_attributes = &threadAttr;
    event->sigev_value.sival_ptr = owner;
}

TimerImpl::~TimerImpl()
{
    owner->stop(); // or the system would go on calling signal_handler() with a dangling owner
    pthread_attr_destroy(&threadAttr);
}

void TimerImpl::signal_handler(sigval value)
{
    static_cast<Timer*>(value.sival_ptr)->onTimeout();
    pthread_exit(nullptr);
}

}
