// A fork during a loop, a request, the end of the process or another fork.
//
// Parent and child share nothing after the fork, so each run of the model continues as one of them. In the child the
// other threads and the handlers on them are gone at any of their steps. The child then makes a request, runs a loop or
// ends.
//
// 29 states are unreached, as intended. They are in functions that ending.pml reaches completely. The child's only loop
// is that of its one thread, no other thread is inside its gate, and the thread that blocks SIGTERM never receives it.

#define THREADS 3
#define THREAD_IDS {0, 1, 2}
#define OWN_MASKS {0, 2, 0} // two threads that fork at once have different masks to restore
#define SIGNALLED_THREADS 3
#define FORKER 2
#define SIGNALS_EACH 1
#define FIRST_LOOP 0
#define SECOND_LOOP FORKER
#define EXIT_ATTEMPTS 1
#define GONE (isChild && me != FORKER && me != NO_THREAD)
#include "record.pml"

bool isChild;
byte gone; // threads that the child has lost

byte maskOutsideTheFork[THREADS];
#ifndef WITHOUT_A_SAVED_MASK_PER_THREAD // each forking thread saves its mask separately
#define MY_MASK_OUTSIDE_THE_FORK maskOutsideTheFork[me]
#else
#define MY_MASK_OUTSIDE_THE_FORK maskOutsideTheFork[0]
#endif

inline beforeFork()
{
#ifndef WITHOUT_BLOCKING_ACROSS_THE_FORK // fork blocks the signals until the child's record is ready
    blockSignals(MY_MASK_OUTSIDE_THE_FORK);
#else
    MY_MASK_OUTSIDE_THE_FORK = mask[me];
#endif
#ifdef WITHOUT_FORKING_WITHOUT_THE_MUTEX // the mutex is not held across the fork
    enterGate();
    if
    :: pass -> pthread_mutex_lock()
    :: !pass
    fi;
#endif
    skip
}

#ifdef WITHOUT_FORKING_WITHOUT_THE_MUTEX
inline giveTheMutexBack()
{
    if
    :: pass -> pthread_mutex_unlock(); leaveGate()
    :: !pass
    fi
}
#endif

inline forgetLocals()
{
    pass = false; released = false; inUse = false; returned = false; previous = 0; attempt = 0
}

// The end of a thread. In the child it comes at once and leaves only what the thread had done to the record.
inline vanish()
{
    atomic { isChild -> forgetLocals(); gone++ }
}

// The C library holds malloc's lock during the fork, and gives the child a new one.
inline fork()
{
    atomic { libcLock == NO_THREAD; libcLock = me };
    if
    :: libcLock = NO_THREAD
    :: d_step {
            isChild = true;
            libcLock = NO_THREAD;
            mask[0] = BOTH; mask[1] = BOTH; // no signal reaches the lost threads, so that all vanish
            suspended[0] = false; suspended[1] = false; suspended[3] = false; suspended[4] = false;
            conditionExists[0] = false; expects[0] = false; semaphore[0] = 0; owed = 0;
            maskOutsideTheFork[1] = 0; seenInside = 0; seenWaiting = 0;
            processEnds = gateClosed // if it is open, the end of the child runs the record's destructor
        };
        gone == 2 && runs == 0
    fi
}

inline afterForkInParent()
{
#ifdef WITHOUT_FORKING_WITHOUT_THE_MUTEX
    giveTheMutexBack();
#endif
#ifndef WITHOUT_RESTORING_THE_PARENTS_MASK // fork restores the parent's mask
    mask[me] = MY_MASK_OUTSIDE_THE_FORK;
#endif
    assert(mask[me] == ownMask[me]) // a thread leaves with a different signal mask
}

inline afterForkInChild()
{
#ifdef WITHOUT_FORKING_WITHOUT_THE_MUTEX
    giveTheMutexBack();
#endif
#ifndef WITHOUT_FORGETTING_WHO_WAS_INSIDE // the child's gate is empty
    gateInside = 0;
#endif
#ifdef WITHOUT_KEEPING_THE_GATE_CLOSED // the child's gate is closed if the parent's was
    gateClosed = false;
#endif
#ifndef WITHOUT_THE_GATE_IN_THE_CHILD // the child enters the gate before it touches the record
    enterGate();
#else
    pass = true; gateInside++;
#endif
    if
    :: pass ->
        assert(recordExists); // the record is used after it is freed
#ifndef WITHOUT_A_NEW_MUTEX // the child's mutex is a new one
        mutexOwner = NO_THREAD;
#endif
#ifndef WITHOUT_AN_EMPTY_QUEUE // the child's queue is empty
        d_step { queued[0] = false; waiting = 0 }
#endif
        skip
    :: !pass
    fi;
#ifndef WITHOUT_RESTORING_THE_CHILDS_MASK // fork restores the child's mask
    mask[me] = MY_MASK_OUTSIDE_THE_FORK;
#endif
    leaveGate();
    assert(mask[me] == ownMask[me]) // a thread leaves with a different signal mask
}

active proctype Main() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
    {
        initialised = true;
        runEventLoop()
    } unless { isChild };
parked:
    skip;
end_here:
    vanish()
}

active proctype Other() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit: {
        initialised;
        if
        :: exit(A_CODE)
        :: endTheProcess()
        :: libraryCall()
        :: beforeFork();
            libraryCall(); // the child is not followed: it would be like that of Forker
            afterForkInParent()
        fi
    } unless { isChild };
end_here:
    vanish()
}

active proctype Forker() provided (!suspended[_pid])
{
    byte me = _pid;
    LOCALS;
end_beforeInit:
    initialised;
    beforeFork();
    fork();
    if
    :: !isChild ->
        afterForkInParent()
    :: isChild ->
        afterForkInChild();
        if
        :: exit(A_CODE)
        :: runEventLoop()
        :: endTheProcess()
        fi
    fi;
parked:
    skip
}

#include "signals.pml"
