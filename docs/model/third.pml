// A loop, a request, and a third thread that ends the process or makes a second request.
//
// The third thread receives SIGINT. It blocks SIGTERM, so that the search stays short. ending.pml has both signals, and
// lets either thread end the process.
//
// 2 states are unreached, as intended: no second request finds a closed gate, and the third thread gets no SIGTERM.

#define THREADS 3
#define THREAD_IDS {0, 1, 2}
#define OWN_MASKS {0, 0, 2}
#define SIGNALLED_THREADS 3
#define SIGNALS_EACH 1
#define FIRST_LOOP 0
#define SECOND_LOOP 0
#define EXIT_ATTEMPTS 1
#include "record.pml"

active proctype Main() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
    initialised = true;
    runEventLoop();
parked:
    skip
}

active proctype Other() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit:
    initialised;
    exit(A_CODE)
}

active proctype Third() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit:
    initialised;
    if
    :: endTheProcess()
    :: exit(A_CODE)
    fi
}

#include "signals.pml"
