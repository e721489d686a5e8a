#include "application/TerminationSignals.hpp"

namespace brindle {

TerminationSignalsBlocked::TerminationSignalsBlocked()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &previous);
}

TerminationSignalsBlocked::~TerminationSignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

}
