#include "application/TerminationSignals.hpp"

namespace brindle {

sigset_t terminationSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

TerminationSignalsBlocked::TerminationSignalsBlocked()
{
    const sigset_t blocked = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
}

TerminationSignalsBlocked::~TerminationSignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

}
