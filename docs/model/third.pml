// How a loop and a request meet the end of the process, where a third thread ends it. That one blocks the signals, and
// nobody else ends the process: the rest is in ending.pml.

#define THREADS 3
#define THREAD_IDS {0, 1, 2}
#define OWN_MASKS {0, 0, 3}
#define SIGNALLED_THREADS 2
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

active proctype Ender() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit:
    initialised;
    endTheProcess()
}

#include "signals.pml"
