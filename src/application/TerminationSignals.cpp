#include "application/TerminationSignals.hpp"

#include <initializer_list>

namespace brindle {

void blockTerminationSignals(sigset_t* previous)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, previous);
}

void restoreTerminationSignals(const sigset_t& previous)
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) {
        if (sigismember(&previous, signal) == 0) {
            sigaddset(&signals, signal);
        }
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}
