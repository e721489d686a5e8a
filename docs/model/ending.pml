// Requests, signals and the end of the process, with two threads. Either thread ends the process.
//
// The main thread returns at once, or calls init, runs its loop up to twice, and returns. The other thread makes a call
// that takes a lock of the C library. Then it calls exit, or std::exit, or neither. Each signal comes up to twice.

#define THREADS 2
#define THREAD_IDS {0, 1}
#define OWN_MASKS {0, 0}
#define SIGNALLED_THREADS 2
#ifndef SIGNALS_EACH
#define SIGNALS_EACH 2
#endif
#define FIRST_LOOP 0
#define SECOND_LOOP 0
#define LOOP_CALLS 2
#define EXIT_ATTEMPTS 2
#include "record.pml"

active proctype Main() provided (!suspended[_pid])
{
    byte me = _pid;
    byte calls;
    LOCALS;
    if
    :: skip
    :: initialised = true;
        do
        :: atomic { calls < LOOP_CALLS -> calls++ };
            runEventLoop()
        :: break
        od
    fi;
    endTheProcess();
parked:
    skip
}

active proctype Other() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit:
    initialised;
    libraryCall();
    if
    :: exit(A_CODE);
        if
        :: released -> goto parked
        :: !released
        fi
    :: skip
    :: goto parked
    fi;
    endTheProcess();
parked:
    skip
}

#include "signals.pml"
