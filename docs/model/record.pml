// The application's record, its gate, and the functions that use them. The three models include this file. It uses the
// names of the code.
//
// A process of the model is a thread, or one run of the handler on a thread; `me` is the thread in both. A run of the
// handler suspends what it interrupts, which may be a run for the other signal.
//
// Wherever another thread or a signal can interleave, the model has a step. `#ifndef WITHOUT_...` marks a protection:
// script/prove removes each once and expects an error. The comment after an assertion is the text that script/prove
// prints for it.

#define NO_THREAD 255
#define SIGINT_BIT 1
#define SIGTERM_BIT 2
#define BOTH (SIGINT_BIT | SIGTERM_BIT)
#define A_CODE 42 // what the program calls exit with

// The local variables of a thread. In the code each scope has separate ones. Here all scopes share them in turn.
#if defined WITHOUT_LEAVING_IN_ONE_STEP || defined WITHOUT_CLOSING_IN_ONE_STEP
#define INSIDE byte inside;
#else
#define INSIDE
#endif
#define LOCALS INSIDE bool pass; bool released; bool inUse; bool returned; byte previous; byte attempt

byte ownMask[THREADS] = OWN_MASKS; // the signals that the program blocks in a thread
byte mask[THREADS] = OWN_MASKS;    // those that are blocked now
byte top[THREADS] = THREAD_IDS;    // the process that runs on a thread: itself, or the last handler there
bool suspended[THREADS + 2];       // the processes that a handler has interrupted
byte runs;                         // handlers that have begun and not returned

byte libcLock = NO_THREAD; // the thread that holds a lock of the C library: malloc's, that of a thread's priority, any
bool initialised;          // Application::init was called: the mutex and the handlers exist
bool recordExists = true;
byte mutexOwner = NO_THREAD;
byte exitCode;
bool queued[THREADS];      // the waiters of condVar,
byte waiting;              // and their number
byte semaphore[THREADS];   // of a thread's WaitingCondition
bool gateClosed;           // the closed bit of recordGate,
byte gateInside;           // and the number inside
bool HasApplicationTerminated;
bool processEnds;          // a thread has returned from main, or called std::exit
byte seenInside;           // gateInside and waiting, as the destructor read them last
byte seenWaiting;
#ifdef WITHOUT_A_TOKEN
bool asleep[THREADS];
#endif

// Used by the assertions only.
bool conditionExists[THREADS]; // the thread's WaitingCondition exists
bool expects[THREADS];         // the loop has held the mutex and has not been released since
byte codeOfTheLastRequest;     // among the requests that have held the mutex
byte owed;                     // released loops that have not returned

// -- SignalMask, and the C library

inline blockSignals(previousMask)
{
    d_step { previousMask = mask[me]; mask[me] = BOTH }
}

inline restore(previousMask)
{
#ifndef WITHOUT_RESTORING_THE_PREVIOUS_MASK // the end of a scope restores the previous mask
    mask[me] = previousMask
#else
    mask[me] = 0
#endif
}

inline pthread_mutex_lock()
{
    atomic {
        assert(initialised);      // a mutex is locked that is not initialised
        assert(recordExists);     // the record is used after it is freed
        assert(mutexOwner != me); // a handler waits for its own thread
        mutexOwner == NO_THREAD;
        assert(recordExists);     // the record is used after it is freed
        mutexOwner = me
    }
}

inline pthread_mutex_unlock()
{
    d_step {
        assert(recordExists);     // the record is used after it is freed
        assert(mutexOwner == me); // a thread unlocks a mutex that it does not hold
        mutexOwner = NO_THREAD
    }
}

// A call that takes a lock of the C library. The handler may interrupt it.
inline libraryCall()
{
    atomic { libcLock == NO_THREAD; libcLock = me };
    libcLock = NO_THREAD
}

inline storeExitCode(code)
{
    d_step {
        assert(recordExists);     // the record is used after it is freed
        assert(mutexOwner == me); // the exit code is used without the mutex
        exitCode = code
    }
}

// -- CountingGate

inline enterGate()
{
#ifndef WITHOUT_COUNTING_WHO_IS_INSIDE // each user that enters the gate is counted
#ifndef WITHOUT_ENTERING_IN_ONE_STEP // checking the gate and counting the user are one step
    d_step { pass = !gateClosed; gateInside = gateInside + pass }
#else
    pass = !gateClosed;
    gateInside = gateInside + pass
#endif
#else
    pass = !gateClosed
#endif
    assert(pass || gateClosed) // an open gate refuses a user
}

inline leaveGate()
{
#ifndef WITHOUT_COUNTING_WHO_IS_INSIDE
#ifndef WITHOUT_LEAVING_IN_ONE_STEP // reading the count of users and decrementing it are one step
    d_step { gateInside = gateInside - pass; pass = false }
#else
    if
    :: pass ->
        inside = gateInside;
        d_step { gateInside = inside - 1; pass = false }
    :: !pass
    fi
#endif
#else
    pass = false
#endif
}

// -- CondVar

inline makeWaitingCondition()
{
    libraryCall(); // pthread_getschedparam
    d_step { semaphore[me] = 1; conditionExists[me] = true }
}

inline enqueue()
{
#ifdef WITHOUT_RESERVED_ROOM // the queue has room for the loop from the start
    libraryCall(); // malloc
#endif
    d_step {
        assert(recordExists);     // the record is used after it is freed
        queued[me] = true;
        waiting++
    };
    semaphore[me]-- // its initial token
}

inline release(thread)
{
    atomic {
        queued[thread];
        assert(conditionExists[thread]); // a loop is released that has ended
        expects[thread] = false;
        owed++;
#ifndef WITHOUT_A_TOKEN // a post that comes before the sleep is remembered
        semaphore[thread]++
#else
        semaphore[thread] = semaphore[thread] + asleep[thread]
#endif
    };
    d_step {
        assert(recordExists);            // the record is used after it is freed
        queued[thread] = false;
        waiting--;
        released = true
    }
}

// The code releases the waiter of higher priority. Here it may be either.
inline signal(code)
{
    codeOfTheLastRequest = code;
    if
    :: atomic {
        waiting == 0;
        assert(!expects[FIRST_LOOP] && !expects[SECOND_LOOP]); // a request misses a waiting loop
        released = false
    }
    :: release(FIRST_LOOP)
#if SECOND_LOOP != FIRST_LOOP
    :: release(SECOND_LOOP)
#endif
    fi
}

// -- Application and ApplicationImpl

inline runEventLoop()
{
    enterGate();
    if
    :: !pass ->
        returned = false
#ifndef WITHOUT_WAITING_ON_A_CLOSED_GATE // at a closed gate runEventLoop waits for the end of the process
        ; goto parked
#endif
    :: pass ->
#ifndef WITHOUT_A_RECORD_BEFORE_THE_MUTEX // the loop makes its waiter before it locks the mutex
        makeWaitingCondition();
#endif
#ifndef WITHOUT_BLOCKING_IN_THE_LOOP // the loop blocks the signals before it locks the mutex
        blockSignals(previous);
#else
        previous = mask[me];
#endif
        pthread_mutex_lock();
        expects[me] = true;
#ifdef WITHOUT_A_RECORD_BEFORE_THE_MUTEX
        makeWaitingCondition();
#endif
#ifdef WITHOUT_STAYING_IN_THE_GATE // the loop stays inside the gate until it returns
        leaveGate();
#endif
#ifdef WITHOUT_QUEUEING_BEFORE_THE_SIGNALS // the loop queues itself before it unblocks the signals
        restore(previous);
        enqueue();
        pthread_mutex_unlock();
#else
#ifdef WITHOUT_QUEUEING_BEFORE_UNLOCKING // the loop queues itself before it unlocks the mutex
        pthread_mutex_unlock();
        enqueue();
#else
        enqueue();
#ifndef WITHOUT_UNLOCKING_BEFORE_THE_SIGNALS // the loop unlocks the mutex before it unblocks the signals
        pthread_mutex_unlock();
#endif
#endif
#ifndef WITHOUT_SIGNALS_IN_THE_SLEEP // the loop unblocks the signals while it sleeps
        restore(previous);
#endif
#ifdef WITHOUT_UNLOCKING_BEFORE_THE_SIGNALS
        pthread_mutex_unlock();
#endif
#endif
#ifdef WITHOUT_A_TOKEN
        asleep[me] = true;
#endif
        atomic {
            assert(mask[me] == ownMask[me]); // a loop sleeps with the signals blocked
end_asleep:
            semaphore[me] > 0;
            semaphore[me]--
        };
#ifndef WITHOUT_BLOCKING_AFTER_THE_SLEEP // the loop blocks the signals before it locks the mutex again
        blockSignals(previous);
#endif
#ifndef WITHOUT_TAKING_THE_MUTEX_BACK // the loop locks the mutex again after its release
        pthread_mutex_lock();
#endif
        d_step {
            assert(recordExists);     // the record is used after it is freed
            assert(mutexOwner == me); // the exit code is used without the mutex
            assert(exitCode == codeOfTheLastRequest); // the loop does not return the code of the last request
            assert(HasApplicationTerminated || exitCode == A_CODE); // the loop returns before the flag is set
            assert(owed > 0);         // the loop returns without a release
            owed--;
            returned = true
        };
#ifdef WITHOUT_LEAVING_THE_GATE_LAST
        leaveGate();
#endif
#ifndef WITHOUT_GIVING_THE_MUTEX_BACK // the loop unlocks the mutex before it returns
        pthread_mutex_unlock();
#endif
        restore(previous);
        conditionExists[me] = false;
        leaveGate()
    fi;
    d_step {
        assert(returned);                // runEventLoop returns without a request
        assert(mutexOwner != me);        // a thread leaves with the mutex held
        assert(mask[me] == ownMask[me])  // a thread leaves with a different signal mask
    }
}

inline tryExit(code)
{
#ifndef WITHOUT_BLOCKING_IN_EXIT // exit blocks the signals before it locks the mutex
    blockSignals(previous);
#else
    previous = mask[me];
#endif
#ifndef WITHOUT_SLEEPING_OUTSIDE_THE_GATE
    enterGate();
#endif
    if
    :: !pass -> released = true
    :: pass ->
#ifdef WITHOUT_STORING_WITH_THE_MUTEX // exit stores the code with the mutex held
        storeExitCode(code);
#endif
        pthread_mutex_lock();
#ifndef WITHOUT_STORING_WITH_THE_MUTEX
#ifndef WITHOUT_STORING_EVERY_CODE // a request stores its code even if it releases no loop
        storeExitCode(code);
#endif
#endif
        signal(code);
#ifdef WITHOUT_STORING_EVERY_CODE
        if
        :: released -> storeExitCode(code)
        :: !released
        fi;
#endif
#ifdef WITHOUT_LEAVING_THE_GATE_LAST // a user leaves the gate after it unlocks the mutex
        leaveGate();
#endif
        pthread_mutex_unlock();
    fi;
#ifndef WITHOUT_SLEEPING_OUTSIDE_THE_GATE
    leaveGate();
#endif
    d_step {
        restore(previous);
        assert(mask[me] == ownMask[me]) // a thread leaves with a different signal mask
    }
}

// If `released` is false afterwards, exit has given up.
inline exit(code)
{
    attempt = 0;
#ifdef WITHOUT_SLEEPING_OUTSIDE_THE_GATE // exit sleeps outside the gate
    enterGate();
#endif
    do
    :: tryExit(code);
        atomic {
            attempt++;
            if
            :: released -> break
            :: !released ->
                assert(!pass); // a thread sleeps inside the gate
                if
                :: attempt == EXIT_ATTEMPTS -> break
                :: attempt < EXIT_ATTEMPTS
                fi
            fi
        }
    od;
#ifdef WITHOUT_SLEEPING_OUTSIDE_THE_GATE
    leaveGate();
#endif
    attempt = 0
}

inline application_exit_signal(signum)
{
#ifndef WITHOUT_BLOCKING_IN_THE_HANDLER // the handler also blocks the other signal
    blockSignals(previous);
#else
    previous = mask[me];
#endif
    enterGate();
    if
    :: pass ->
        pthread_mutex_lock();
        storeExitCode(signum + 130);
        signal(signum + 130);
#ifndef WITHOUT_THE_FLAG_BEFORE_UNLOCKING // the handler sets the flag before it unlocks the mutex
        HasApplicationTerminated = true;
#endif
#ifdef WITHOUT_LEAVING_THE_GATE_LAST
        leaveGate();
#endif
        pthread_mutex_unlock()
#ifdef WITHOUT_THE_FLAG_BEFORE_UNLOCKING
        ; HasApplicationTerminated = true
#endif
    :: !pass
#ifndef WITHOUT_THE_FLAG_ON_A_CLOSED_GATE // the handler also sets the flag at a closed gate
        -> HasApplicationTerminated = true
#endif
    fi;
    leaveGate();
    restore(previous)
}

// The system runs the handler on any thread that does not block the signal, and blocks the signal there during the run.
// A pending signal is modelled as one that comes later.
inline deliver(its)
{
    atomic {
        initialised;
        if
        :: !(mask[0] & its) -> me = 0
        :: !(mask[1] & its) -> me = 1
#if SIGNALLED_THREADS > 2
        :: !(mask[2] & its) -> me = 2
#endif
        fi;
        interrupted = top[me];
        interruptedMask = mask[me];
        suspended[interrupted] = true;
        runs++;
        top[me] = _pid;
        mask[me] = mask[me] | its
    }
}

inline forgetTheRun()
{
    runs--;
    me = NO_THREAD;
    interrupted = 0;
    interruptedMask = 0
}

inline returnFromTheHandler(its)
{
    d_step {
        assert(HasApplicationTerminated);            // the handler returns and the flag is not set
        assert(mask[me] == (interruptedMask | its)); // a thread leaves with a different signal mask
        mask[me] = interruptedMask;
        top[me] = interrupted;
        suspended[interrupted] = false;
        forgetTheRun()
    }
}

// The signals are blocked here because the thread holds the mutex. This is not a separate protection: a handler that
// interrupts this thread finds the gate closed.
inline isInUse()
{
#ifdef WITHOUT_A_LOOK_BEFORE_THE_MUTEX // the destructor locks the mutex only if a user is inside
    inUse = true;
#else
    inUse = gateInside != 0;
#endif
    if
    :: inUse ->
        blockSignals(previous);
        pthread_mutex_lock();
#ifndef WITHOUT_LOOKING_WITH_THE_MUTEX // the destructor reads the counts while it holds the mutex
        if // C++ leaves open which one is read first
        :: seenInside = gateInside; seenWaiting = waiting
        :: seenWaiting = waiting; seenInside = gateInside
        fi;
        pthread_mutex_unlock();
#else
        seenWaiting = waiting;
        pthread_mutex_unlock();
        seenInside = gateInside;
#endif
#ifndef WITHOUT_LEAVING_OUT_SLEEPERS // a loop asleep in the queue does not count
        inUse = seenInside != seenWaiting;
#else
        inUse = seenInside != 0;
#endif
        restore(previous)
    :: !inUse
    fi
}

// The code checks every millisecond. The model checks when a count has changed, so that an endless wait is a deadlock.
inline nap()
{
    (gateInside != seenInside || waiting != seenWaiting)
}

inline destroyRecord()
{
#ifndef WITHOUT_CLOSING_THE_GATE // the destructor closes the gate
#ifndef WITHOUT_CLOSING_BEFORE_LOOKING // the destructor closes the gate before its first check
#ifndef WITHOUT_CLOSING_IN_ONE_STEP // reading the count and setting the closed bit are one step
    gateClosed = true;
#else
    inside = gateInside;
    d_step { gateInside = inside; gateClosed = true }
#endif
#endif
#endif
#ifndef WITHOUT_WAITING_FOR_THOSE_INSIDE // the destructor waits for the users inside
    do
    :: isInUse();
        if
        :: inUse -> nap()
        :: !inUse -> break
        fi
    od;
#endif
#ifdef WITHOUT_CLOSING_BEFORE_LOOKING
    gateClosed = true;
#endif
    atomic {
        assert(mask[me] == ownMask[me]); // a thread leaves with a different signal mask
        assert(owed == 0);               // the record is freed before a released loop returns
        recordExists = false
    }
}

// std::exit, or the return from main.
//
// The first of two threads that do this destroys the record. In some C libraries the second waits. In others it runs
// the remaining exit handlers and ends the process at any time. That cuts a run short, and each part of a run is
// searched.
inline endTheProcess()
{
    if
    :: atomic { !processEnds -> processEnds = true };
        destroyRecord()
    :: processEnds
    fi
}
