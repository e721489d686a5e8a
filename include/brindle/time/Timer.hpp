#pragma once

#include <brindle/Export.hpp>
#include <brindle/UniquePtr.hpp>

namespace brindle::time {

class BRINDLE_EXPORT TimerImpl;

/// Calls onTimeout() every so many whole seconds, on threads of its own, until it is stopped.
///
/// Derive, override onTimeout(), make the object, start() it. Underneath is a POSIX timer on `CLOCK_REALTIME`
/// with `SIGEV_THREAD`. The first expiry comes one period after start(); setting the clock moves none of them
/// (POSIX, clock_settime: no effect on relative timers).
///
/// - Threads: no lock. start(), stop(), restart(), setDuration(), duration() and the destructor are for one thread
///   at a time. A callback may call all but the destructor, if nobody else can at that moment.
/// - Blocking: none. stop() does not wait for callbacks.
/// - Errors: start() and restart() return −1 with `errno`; they and the constructor throw `std::bad_alloc`, and
///   then nothing has changed. An expiry for which the system cannot make a thread is lost without a report.
/// - Signals: glibc and musl run callbacks with every signal blocked (measured on 2.36 and 1.2.3), and what they start,
///   processes too, inherits that; a write to a broken pipe gives EPIPE there instead of SIGPIPE. uClibc-ng blocks none
///   (measured on 1.0.35), so a handler may run in a callback. Application::exit() may be called in callbacks on all.
///   On musl a callback sets no whole mask: signal 32 has to stay blocked, and is in no mask that musl tells.
/// - Lifetime: neither copied nor moved. A callback uses the object, so the object outlives every callback; see
///   below. At the end of the process, callbacks still come while static objects are destroyed.
/// - Fork: the child has the object but no POSIX timer, and leaves the object alone. It starts no timer of its own
///   either, unless it calls exec: with glibc, start() may hang there if the parent had a timer running. A daemon
///   forks first.
/// - Tools: `SIGEV_THREAD` crashes under ThreadSanitizer with gcc 12, clang 14 and glibc 2.36 (measured).
/// - Names: after `using namespace brindle`, C's function is `std::time`; `time` alone is ambiguous.
///
/// **Callbacks.** Each one has a detached thread to itself, which ends by `pthread_exit` when onTimeout() returns. On musl
/// a started timer has one such thread, with a stack of 128 KiB: there callbacks neither overlap nor pile up, and the
/// expiries that come during one count as one.
///
/// - They overlap: a period of 5 s and a callback of 12 s means three callbacks at once. What they share needs a
///   lock. They do not come in a fixed order either.
/// - They pile up: with a period of 1 s, a callback that waits a minute for its lock means 60 threads, each with a
///   stack of its own (8 MiB of address space by default on Debian).
/// - They come late: stop() ends the expiries, not the callbacks. One that has begun runs on, and one whose thread
///   was made just before stop() may begin after stop() has returned, or after a restart().
/// - They come early: glibc and uClibc-ng may credit the last expiry of a stopped timer to the next one that is
///   started, whichever object that is (with glibc 10 and 28 times in two runs that stopped 20,000 timers as they
///   expired, and started others of an hour).
/// - No exception may leave onTimeout(): it would end the process. The same goes for a `catch (...)` that does
///   not rethrow, around code that calls `pthread_exit`.
///
/// @code
/// class Watchdog : public Timer {
/// public:
///     Watchdog() : Timer(5) {}
///
///     void onTimeout() override
///     {
///         if (!alive() && !over.exchange(true)) {    // once, whatever overlaps
///             Application::app().exit(1);
///         }
///     }
///
/// private:
///     std::atomic<bool> over{false};
/// };
///
/// static Watchdog& watchdog = *new Watchdog;         // lives as long as the process: never destroyed
/// if (watchdog.start() != 0) {
///     throw SystemException("start the watchdog", errno);
/// }
/// @endcode
///
/// **Destruction.** A timer that is never destroyed, as above, is the simple case. To destroy one that has been
/// started, three kinds of callbacks must be over:
///
/// 1. Those to come: call stop() in the destructor of the most derived class. The base class does it too, but
///    when it does, the members that callbacks use are gone.
/// 2. Those that have begun: count them in onTimeout() under a mutex, and wait after stop() until none is left.
/// 3. Those whose thread has been made but has not reached onTimeout(). Nothing can count these or wait for them.
///    Measured on two cores: up to 1.3 ms after stop() on an idle machine, 11 ms on a busy one; nothing bounds it.
///
/// Because of the third kind, let the Timer stay and destroy what it works for. Nothing below depends on time:
///
/// @code
/// class Sensor;
///
/// class Ticker : public Timer {                      // stays: used again, for one sensor at a time, never destroyed
/// public:
///     using Timer::Timer;
///
///     void attach(Sensor* polled)
///     {
///         ScopedLock lock(&mutex);
///         sensor = polled;
///     }
///
///     void detach()
///     {
///         stop();                                    // the first kind
///         ScopedLock lock(&mutex);                   // the second: waits for callbacks that have begun
///         sensor = nullptr;                          // the third, however late, finds nothing, or the next sensor
///     }
///
///     void onTimeout() override;
///
/// private:
///     pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
///     Sensor* sensor = nullptr;
/// };
///
/// class Sensor final {                               // comes and goes
/// public:
///     explicit Sensor(Ticker& period) : ticker(period)
///     {
///         if (ticker.start() != 0) {
///             throw SystemException("start the sensor's timer", errno);
///         }
///         ticker.attach(this);                       // last of all: it may be polled from here on
///     }
///
///     ~Sensor() { ticker.detach(); }                 // first of all, while every member is still there
///
///     void poll();
///     ...
/// };
///
/// void Ticker::onTimeout()
/// {
///     ScopedLock lock(&mutex);                       // one callback at a time
///     if (sensor != nullptr) {
///         sensor->poll();                            // must not destroy its sensor, nor wait for who does: no exit()
///     }
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

    /// Stops the timer. See above for what must be over by then.
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

    /// The same as start(), for where a timer that runs already is to begin anew. `std::bad_alloc` leaves it running.
    int restart();

    /// In whole seconds, from 0 up; taken by the next start() or restart(), not by a period under way.
    void setDuration(int seconds);

    int duration() const;

private:
    int durationSeconds;
    UniquePtr<TimerImpl> impl; // never null between constructor and destructor
};

}
