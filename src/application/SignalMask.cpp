#include "application/SignalMask.hpp"

#include <initializer_list>

namespace brindle {

sigset_t terminationSignals() noexcept
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

sigset_t asynchronousSignals() noexcept
{
    sigset_t signals;
    sigfillset(&signals); // without the C library's internal signals
    for (const int raisedByAnInstruction : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
        sigdelset(&signals, raisedByAnInstruction);
    }
    return signals;
}

void blockSignals(const sigset_t& signals, sigset_t* previous) noexcept
{
    pthread_sigmask(SIG_BLOCK, &signals, previous);
}

void unblockSignals(const sigset_t& signals, const sigset_t& previous) noexcept
{
    sigset_t blockedHere = signals;
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigismember(&previous, signal) == 1) {
            sigdelset(&blockedHere, signal);
        }
    }
    pthread_sigmask(SIG_UNBLOCK, &blockedHere, nullptr);
}

}
