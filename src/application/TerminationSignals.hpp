#pragma once

#include <csignal>

namespace brindle {

/// Blocks SIGINT and SIGTERM in the calling thread; @p previous receives its mask as it was.
void blockTerminationSignals(sigset_t* previous);

/// Undoes that. Sets nothing but these two: musl leaves the signal of its timers out of the masks that it tells, and in a
/// timer's callback it would end the process if it were not blocked.
void restoreTerminationSignals(const sigset_t& previous);

/// Blocks SIGINT and SIGTERM in the calling thread until the end of the scope.
///
/// Whoever locks the application mutex blocks them first, so the handler never runs on a thread that holds it.
/// The handler does the same: `signal` blocks only the signal being handled, and the other one would nest.
class TerminationSignalsBlocked {
public:
    TerminationSignalsBlocked() { block(); }
    TerminationSignalsBlocked(const TerminationSignalsBlocked&) = delete;
    TerminationSignalsBlocked& operator=(const TerminationSignalsBlocked&) = delete;
    ~TerminationSignalsBlocked() { unblock(); }

    /// In between, for a thread that sleeps inside the scope.
    void unblock() { restoreTerminationSignals(previous); }
    void block() { blockTerminationSignals(&previous); }

private:
    sigset_t previous; // the thread's mask outside the scope
};

}
