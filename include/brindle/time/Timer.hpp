#pragma once

#include <brindle/Export.hpp>
#include <brindle/UniquePtr.hpp>

namespace brindle::time {

class BRINDLE_EXPORT TimerImpl;

/// Calls onTimeout() every so many whole seconds, on threads of its own, until it is stopped.
///
/// Derive, override onTimeout(), make the object, start() it. The first expiry comes one period after start(), and setting
/// the clock moves none. docs/guides/timers.md teaches what follows from this contract.
///
/// - Threads: no lock. All but onTimeout() is for one thread at a time; a callback may call all but the destructor, if
///   nobody else can at that moment. Each callback has a detached thread to itself: a period of 5 s and a callback of
///   12 s means three at once, and a callback that waits a minute, 12 threads. On musl one thread runs them in turn.
/// - Blocking: none. stop() waits for no callback: one may go on, or even begin, after it (up to 11 ms after it, measured
///   on a busy machine; nothing bounds it). One may also come early, from a timer that was stopped before this one started.
/// - Errors: start() and restart() return −1 with `errno`. They and the constructor throw `std::bad_alloc`; then start() has
///   changed nothing, and restart() has stopped the timer. An expiry for which the system cannot make a thread is lost without a report. An exception that leaves
///   onTimeout() ends the process.
/// - Signals: with glibc and musl all are blocked in callbacks and in what they start; on musl a callback sets no whole
///   mask. With uClibc-ng none is, and a handler may run there. Application::exit() may be called in callbacks on all.
/// - Lifetime: neither copied nor moved. A callback uses the object, so one that was ever started is never destroyed, or
///   only as the guide shows. Callbacks still come while the process destroys its static objects.
/// - Fork: the child has the object but no POSIX timer, and leaves the object alone. It starts none of its own either,
///   unless it calls exec: with glibc, start() may hang there if the parent had a timer running. A daemon forks first.
///
/// @code
/// struct Watchdog : Timer {
///     using Timer::Timer;
///     void onTimeout() override
///     {
///         if (!alive() && !over.exchange(true)) {    // once, whatever overlaps
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
class BRINDLE_EXPORT Timer {
public:
    /// A stopped timer of @p seconds, which is both the delay before the first callback and the period after it.
    explicit Timer(int seconds);

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// What happens at each expiry; nothing, unless overridden.
    virtual void onTimeout();

    /// Stops the timer. No callback may come any more, nor be running, by then: stop() alone does not see to that.
    virtual ~Timer();

    /// Arms the timer with the duration of this moment. A started one is stopped first and begins anew.
    ///
    /// @return 0, or −1 with `errno` as the failing call set it. After a failed timer_create the timer is stopped;
    ///         EAGAIN says that this user has no timer left (RLIMIT_SIGPENDING), or that the libc could not make the
    ///         thread which serves all timers, and then every later start() in this process fails too.
    ///         After a failed timer_settime (EINVAL: a negative duration) it is started but never expires.
    ///         A duration of 0 is no failure: started, and never expires.
    int start();

    /// No expiry comes after this, but callbacks may (see above). Does nothing to a stopped timer.
    void stop();

    /// stop(), then start(). After a `std::bad_alloc` the timer is stopped.
    int restart();

    /// In whole seconds, from 0 up; taken by the next start() or restart(), not by a period under way.
    void setDuration(int seconds);

    /// What the constructor or setDuration() was given last.
    int duration() const;

private:
    int durationSeconds;
    UniquePtr<TimerImpl> impl; // never null between constructor and destructor
};

}
