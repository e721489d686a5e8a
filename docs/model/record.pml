// The application's record, its gate, and the functions that use them; the three models include it. The names are those
// of the code.
//
// A process of the model is a thread, or one run of the handler on a thread; `me` is the thread in both. A run of the
// handler suspends what it interrupts, which may be a run for the other signal.
//
// Each step that another thread or a signal can come before is a step here. `#ifndef WITHOUT_...` marks a protection:
// script/prove leaves each of them out once, and expects an error. The comment behind an assertion is what script/prove
// says of it.

#define NOBODY 255
#define SIGINT_BIT 1
#define SIGTERM_BIT 2
#define BOTH (SIGINT_BIT | SIGTERM_BIT)
#define A_CODE 42 // what the program calls exit with

// What a thread keeps on its stack. In the code each scope has its own; here they follow one another.
#if defined WITHOUT_LEAVING_IN_ONE_STEP || defined WITHOUT_CLOSING_IN_ONE_STEP
#define INSIDE byte inside;
#else
#define INSIDE
#endif
#define LOCALS INSIDE bool pass; bool released; bool inUse; bool returned; byte previous; byte attempt

byte ownMask[THREADS] = OWN_MASKS; // the signals that the program blocks in a thread
byte mask[THREADS] = OWN_MASKS;    // those that are blocked now
byte top[THREADS] = THREAD_IDS;    // the process that runs on a thread: itself, or the last handler that interrupted it
bool suspended[THREADS + 2];       // the processes that a handler has interrupted
byte runs;                         // handlers that have begun and not returned

byte libcLock = NOBODY;    // who holds malloc's lock, that of a thread's priority, any that the C library has
bool initialised;          // Application::init was called: there are a mutex and handlers
bool recordExists = true;
byte mutexOwner = NOBODY;
byte exitCode;
bool queued[THREADS];      // condVar's waiters,
byte waiting;              // and how many they are
byte semaphore[THREADS];   // that of a thread's WaitingCondition
bool gateClosed;           // recordGate's closed bit,
byte gateInside;           // and how many are inside
bool HasApplicationTerminated;
bool processEnds;          // a thread has returned from main, or called std::exit
byte seenInside;           // gateInside and waiting, when the destructor looked last
byte seenWaiting;
#ifdef WITHOUT_A_TOKEN
bool asleep[THREADS];
#endif

// What only the properties need.
bool conditionExists[THREADS]; // a thread has a WaitingCondition
bool expects[THREADS];         // a loop had the mutex, and has not been released since
byte codeOfTheLastRequest;     // of those that have had the mutex
byte owed;                     // loops that were released and have not returned

// -- SignalMask, and the C library

inline blockSignals(previousMask)
{
    d_step { previousMask = mask[me]; mask[me] = BOTH }
}

inline restore(previousMask)
{
#ifndef WITHOUT_RESTORING_THE_PREVIOUS_MASK // a scope leaves the mask that it found
    mask[me] = previousMask
#else
    mask[me] = 0
#endif
}

inline pthread_mutex_lock()
{
    atomic {
        assert(initialised);      // a mutex is locked that nobody has made
        assert(recordExists);     // the record is used after its end
        assert(mutexOwner != me); // a handler waits for its own thread
        mutexOwner == NOBODY;
        assert(recordExists);     // the record is used after its end
        mutexOwner = me
    }
}

inline pthread_mutex_unlock()
{
    d_step {
        assert(recordExists);     // the record is used after its end
        assert(mutexOwner == me); // a mutex is given back that another thread holds
        mutexOwner = NOBODY
    }
}

// A call that takes a lock of the C library's. The handler may interrupt it.
inline libraryCall()
{
    atomic { libcLock == NOBODY; libcLock = me };
    libcLock = NOBODY
}

inline storeExitCode(code)
{
    d_step {
        assert(recordExists);     // the record is used after its end
        assert(mutexOwner == me); // the exit code is used without the mutex
        exitCode = code
    }
}

// -- CountingGate

inline enterGate()
{
#ifndef WITHOUT_COUNTING_WHO_IS_INSIDE // whoever enters the gate is counted
#ifndef WITHOUT_ENTERING_IN_ONE_STEP // to see the gate open and to be counted is one step
    d_step { pass = !gateClosed; gateInside = gateInside + pass }
#else
    pass = !gateClosed;
    gateInside = gateInside + pass
#endif
#else
    pass = !gateClosed
#endif
    assert(pass || gateClosed) // the gate is open and refuses a user
}

inline leaveGate()
{
#ifndef WITHOUT_COUNTING_WHO_IS_INSIDE
#ifndef WITHOUT_LEAVING_IN_ONE_STEP // to read how many are inside and to write one less is one step
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
        assert(recordExists);     // the record is used after its end
        queued[me] = true;
        waiting++
    };
    semaphore[me]-- // the token that it was made with
}

inline release(thread)
{
    atomic {
        queued[thread];
        assert(conditionExists[thread]); // a loop is released that does not exist
        expects[thread] = false;
        owed++;
#ifndef WITHOUT_A_TOKEN // a post that comes before the sleep is remembered
        semaphore[thread]++
#else
        semaphore[thread] = semaphore[thread] + asleep[thread]
#endif
    };
    d_step {
        assert(recordExists);            // the record is used after its end
        queued[thread] = false;
        waiting--;
        released = true
    }
}

// Of two waiters the one with the higher priority is released; here, either.
inline signal(code)
{
    codeOfTheLastRequest = code;
    if
    :: atomic {
        waiting == 0;
        assert(!expects[FIRST_LOOP] && !expects[SECOND_LOOP]); // a request misses a loop that waits
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
#ifndef WITHOUT_WAITING_ON_A_CLOSED_GATE // runEventLoop waits for the end of the process where the gate is closed
        ; goto parked
#endif
    :: pass ->
#ifndef WITHOUT_A_RECORD_BEFORE_THE_MUTEX // the loop makes its record before it takes the mutex
        makeWaitingCondition();
#endif
#ifndef WITHOUT_BLOCKING_IN_THE_LOOP // the loop blocks the signals before it takes the mutex
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
#ifdef WITHOUT_QUEUEING_BEFORE_THE_SIGNALS // the loop queues itself before it lets the signals through
        restore(previous);
        enqueue();
        pthread_mutex_unlock();
#else
#ifdef WITHOUT_QUEUEING_BEFORE_UNLOCKING // the loop queues itself before it gives the mutex up
        pthread_mutex_unlock();
        enqueue();
#else
        enqueue();
#ifndef WITHOUT_UNLOCKING_BEFORE_THE_SIGNALS // the loop gives the mutex up before it lets the signals through
        pthread_mutex_unlock();
#endif
#endif
#ifndef WITHOUT_SIGNALS_IN_THE_SLEEP // the loop lets the signals through while it sleeps
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
            assert(mask[me] == ownMask[me]); // a loop sleeps and its thread takes no signal
end_asleep:
            semaphore[me] > 0;
            semaphore[me]--
        };
#ifndef WITHOUT_BLOCKING_AFTER_THE_SLEEP // the loop blocks the signals again before it takes the mutex back
        blockSignals(previous);
#endif
#ifndef WITHOUT_TAKING_THE_MUTEX_BACK // the loop takes the mutex back after it was released
        pthread_mutex_lock();
#endif
        d_step {
            assert(recordExists);     // the record is used after its end
            assert(mutexOwner == me); // the exit code is used without the mutex
            assert(exitCode == codeOfTheLastRequest); // the loop returns another code than that of the last request
            assert(HasApplicationTerminated || exitCode == A_CODE); // the loop returns before the flag is set
            assert(owed > 0);         // the loop returns and nobody has released it
            owed--;
            returned = true
        };
#ifdef WITHOUT_LEAVING_THE_GATE_LAST
        leaveGate();
#endif
#ifndef WITHOUT_GIVING_THE_MUTEX_BACK // the loop gives the mutex back before it returns
        pthread_mutex_unlock();
#endif
        restore(previous);
        conditionExists[me] = false;
        leaveGate()
    fi;
    d_step {
        assert(returned);                // runEventLoop returns and nobody asked for it
        assert(mutexOwner != me);        // a thread leaves with the mutex
        assert(mask[me] == ownMask[me])  // a thread leaves with another mask than it came with
    }
}

inline tryExit(code)
{
#ifndef WITHOUT_BLOCKING_IN_EXIT // exit blocks the signals before it takes the mutex
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
#ifdef WITHOUT_LEAVING_THE_GATE_LAST // who is inside leaves the gate after giving the mutex back
        leaveGate();
#endif
        pthread_mutex_unlock();
    fi;
#ifndef WITHOUT_SLEEPING_OUTSIDE_THE_GATE
    leaveGate();
#endif
    d_step {
        restore(previous);
        assert(mask[me] == ownMask[me]) // a thread leaves with another mask than it came with
    }
}

// Has given up, if `released` is false afterwards.
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
#ifndef WITHOUT_BLOCKING_IN_THE_HANDLER // the handler blocks the other signal, too
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
#ifndef WITHOUT_THE_FLAG_BEFORE_UNLOCKING // the handler sets the flag before it gives the mutex back
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
#ifndef WITHOUT_THE_FLAG_ON_A_CLOSED_GATE // the handler sets the flag where the gate is closed, too
        -> HasApplicationTerminated = true
#endif
    fi;
    leaveGate();
    restore(previous)
}

// The system runs the handler on any thread that does not block the signal, and blocks it there meanwhile. A signal
// that is pending is one that comes later.
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
    me = NOBODY;
    interrupted = 0;
    interruptedMask = 0
}

inline returnFromTheHandler(its)
{
    d_step {
        assert(HasApplicationTerminated);            // the handler has run and the flag is not set
        assert(mask[me] == (interruptedMask | its)); // a thread leaves with another mask than it came with
        mask[me] = interruptedMask;
        top[me] = interrupted;
        suspended[interrupted] = false;
        forgetTheRun()
    }
}

// The signals are blocked here by the rule for all who hold the mutex. That is no protection of its own: a handler that
// interrupts this thread finds the gate closed.
inline isInUse()
{
#ifdef WITHOUT_A_LOOK_BEFORE_THE_MUTEX // the destructor takes the mutex only if somebody is inside
    inUse = true;
#else
    inUse = gateInside != 0;
#endif
    if
    :: inUse ->
        blockSignals(previous);
        pthread_mutex_lock();
#ifndef WITHOUT_LOOKING_WITH_THE_MUTEX // the destructor looks who is inside while it holds the mutex
        if // C++ does not say which it reads first
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

// The code looks again every millisecond; here, when there is something else to see, so that to wait for ever is a
// deadlock.
inline nap()
{
    (gateInside != seenInside || waiting != seenWaiting)
}

inline destroyRecord()
{
#ifndef WITHOUT_CLOSING_THE_GATE // the destructor closes the gate
#ifndef WITHOUT_CLOSING_BEFORE_LOOKING // the destructor closes the gate before it first looks
#ifndef WITHOUT_CLOSING_IN_ONE_STEP // to read how many are inside and to write that with the closed bit is one step
    gateClosed = true;
#else
    inside = gateInside;
    d_step { gateInside = inside; gateClosed = true }
#endif
#endif
#endif
#ifndef WITHOUT_WAITING_FOR_THOSE_INSIDE // the destructor waits for those who are inside
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
        assert(mask[me] == ownMask[me]); // a thread leaves with another mask than it came with
        assert(owed == 0);               // the record ends before a released loop has returned
        recordExists = false
    }
}

// std::exit, or the return from main.
//
// Of two threads that do this, the first destroys the record. The other waits for it in some C libraries. In others it
// runs the remaining exit handlers, and ends the process at any time. That cuts a run short; each part of a run is searched.
inline endTheProcess()
{
    if
    :: atomic { !processEnds -> processEnds = true };
        destroyRecord()
    :: processEnds
    fi
}
