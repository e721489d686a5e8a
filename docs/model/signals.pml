// SIGINT and SIGTERM, each at most SIGNALS_EACH times. If a fork interrupts the handler, the child gets one more.

inline sendAgain()
{
#if SIGNALS_EACH > 1
    if
    :: atomic { sent + 1 < SIGNALS_EACH -> sent++; goto end_notSent }
    :: sent + 1 == SIGNALS_EACH
    fi
#else
    skip
#endif
}

active proctype Interrupt() provided (!suspended[_pid])
{
    byte me = NO_THREAD;
    byte interrupted, interruptedMask, sent;
    LOCALS;
end_notSent: {
        deliver(SIGINT_BIT);
        application_exit_signal(2);
        returnFromTheHandler(SIGINT_BIT);
        sendAgain()
    }
#ifdef GONE
    unless {
        atomic { GONE -> forgetLocals(); forgetTheRun(); goto end_notSent }
    }
#endif
}

active proctype Terminate() provided (!suspended[_pid])
{
    byte me = NO_THREAD;
    byte interrupted, interruptedMask, sent;
    LOCALS;
end_notSent: {
        deliver(SIGTERM_BIT);
        application_exit_signal(15);
        returnFromTheHandler(SIGTERM_BIT);
        sendAgain()
    }
#ifdef GONE
    unless {
        atomic { GONE -> forgetLocals(); forgetTheRun(); goto end_notSent }
    }
#endif
}

// Nothing can move any more, and every thread that still waits is allowed to.
active proctype AtRest()
{
end_notYet:
    timeout;
    assert(owed == 0) // a released loop sleeps for ever
}
