#include "application/TerminationSignals.hpp"

namespace brindle {

void blockTerminationSignals(sigset_t* previous)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, previous);
}

}
