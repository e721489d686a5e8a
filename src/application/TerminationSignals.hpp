#pragma once

#include <csignal>

namespace brindle {

/// Blocks SIGINT and SIGTERM in the calling thread; @p previous receives its mask as it was.
void blockTerminationSignals(sigset_t* previous);

/// Blocks SIGINT and SIGTERM in the calling thread until the end of the scope.
///
/// Whoever locks the application mutex blocks them first, so the handler never runs on a thread that holds it.
/// The handler does the same: `signal` blocks only the signal being handled, and the other one would nest.
class TerminationSignalsBlocked {
public:
    TerminationSignalsBlocked() { blockTerminationSignals(&previous); }
    TerminationSignalsBlocked(const TerminationSignalsBlocked&) = delete;
    TerminationSignalsBlocked& operator=(const TerminationSignalsBlocked&) = delete;
    ~TerminationSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous, nullptr); }

    /// The thread's mask outside the scope.
    const sigset_t& previousMask() const { return previous; }

private:
    sigset_t previous;
};

}
