// The system's timers crash under ThreadSanitizer, so there every program has this library in front of the system's.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <future>
#include <memory>
#include <pthread.h>
#include <thread>

namespace {

struct StandInTimer {
    sigevent event;
    std::promise<void> end;
    std::thread clock; // while armed
};

void* notify(void* argument)
{
    const std::unique_ptr<sigevent> event(static_cast<sigevent*>(argument));
    const auto function = event->sigev_notify_function;
    function(event->sigev_value);
    return nullptr;
}

void disarm(StandInTimer& timer)
{
    if (timer.clock.joinable()) {
        timer.end.set_value();
        timer.clock.join();
    }
}

void arm(StandInTimer& timer, std::chrono::nanoseconds period)
{
    timer.end = std::promise<void>();
    timer.clock = std::thread([event = timer.event, end = timer.end.get_future(), period] {
        while (end.wait_for(period) == std::future_status::timeout) {
            pthread_t thread = {};
            pthread_create(&thread, event.sigev_notify_attributes, notify, new sigevent(event));
        }
    });
}

}

extern "C" {

int timer_create(clockid_t /*clock*/, sigevent* event, timer_t* id) noexcept
{
    *id = new StandInTimer{*event, {}, {}};
    return 0;
}

int timer_settime(timer_t id, int /*flags*/, const itimerspec* spec, itimerspec* /*old*/) noexcept
{
    const auto period = std::chrono::seconds(spec->it_value.tv_sec) + std::chrono::nanoseconds(spec->it_value.tv_nsec);
    if (period.count() < 0) {
        errno = EINVAL;
        return -1;
    }
    auto& timer = *static_cast<StandInTimer*>(id);
    disarm(timer);
    if (period.count() > 0) {
        arm(timer, period);
    }
    return 0;
}

int timer_delete(timer_t id) noexcept
{
    const std::unique_ptr<StandInTimer> timer(static_cast<StandInTimer*>(id));
    disarm(*timer);
    return 0;
}
}
