#pragma once

#include <brindle/Export.hpp>
#include <brindle/UniquePtr.hpp>

namespace brindle::time {

class BRINDLE_EXPORT TimerImpl;

/// Calls onTimeout() periodically, every so many whole seconds, on threads that the system makes.
///
/// @code
/// struct Watchdog : Timer {
///     using Timer::Timer;
///     void onTimeout() override
///     {
///         if (!alive() && !over.exchange(true)) {    // once, even if callbacks overlap
///             Application::app().exit(1);
///         }
///     }
///     std::atomic<bool> over{false};
/// };
///
/// static Watchdog& watchdog = *new Watchdog(5);      // lives as long as the process: never destroyed
/// if (watchdog.start() != 0) {
///     throw SystemException("start the watchdog", errno);
/// }
/// @endcode
///
/// - Threads: no lock. All functions but onTimeout() are for one thread at a time. A callback may call them, except the
///   destructor, if no other thread can at that moment.
/// - Callbacks: each has a detached thread to itself, so they overlap: a period of 5 s and a callback of 12 s means
///   three at once. With musl one thread runs them in turn.
/// - Blocking: none. stop() waits for no callback: one may go on, or even begin, after it.
/// - Errors: start() and restart() return −1 with `errno`. They and the constructor throw `std::bad_alloc`. An expiry
///   for which the system cannot make a thread is lost without a report. An exception that leaves onTimeout() ends the
///   process.
/// - Signals: the C library decides whether they are blocked in callbacks. A callback may call Application::exit().
/// - Fork: the child must not use a Timer of the parent, which has no POSIX timer there. It must start no timer either,
///   unless it calls exec. A daemon forks first.
/// - Lifetime: callbacks use the object, even while the process destroys its static objects. A Timer that was ever
///   started must not be destroyed, except as the guide shows.
///
/// docs/guides/timers.md is a part of this contract.
class BRINDLE_EXPORT Timer {
public:
    /// Makes a stopped timer. @p seconds is the delay before the first expiry, and the period after it.
    explicit Timer(int seconds);

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// The callback at each expiry. The base class does nothing.
    virtual void onTimeout();

    /// Stops the timer. No callback may be running or still come; stop() alone does not ensure that.
    virtual ~Timer();

    /// Arms the timer with the current duration(); stops it first if it is started. Setting the clock moves no expiry.
    /// A duration of 0 is no failure: the timer is started, but never expires. A `std::bad_alloc` changes nothing.
    ///
    /// @return 0, or −1 with the `errno` of the call that failed. After a failed timer_create (EAGAIN: no timer is left
    ///         for this user, or the C library has no thread for timers) it is stopped. After a failed timer_settime
    ///         (EINVAL: a negative duration) it is started, but never expires.
    int start();

    /// Ends the expiries, but callbacks may still come (see above). Does nothing to a stopped timer.
    void stop();

    /// Calls stop(), then start(): a running period begins again. After a `std::bad_alloc` the timer is stopped.
    int restart();

    /// Sets the duration in whole seconds, from 0 up. It takes effect at the next start() or restart().
    void setDuration(int seconds);

    /// The duration that was set last, by setDuration() or the constructor.
    int duration() const;

private:
    int durationSeconds;
    UniquePtr<TimerImpl> impl; // never null between constructor and destructor
};

}
