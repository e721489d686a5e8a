// SIGINT and SIGTERM, each once or not at all; in the child of a fork once more if the fork came into the handler.

active proctype Interrupt() provided (!suspended[_pid])
{
    byte me = NOBODY;
    byte interrupted, interruptedMask;
    LOCALS;
end_notSent: {
        deliver(SIGINT_BIT);
        application_exit_signal(2);
        returnFromTheHandler(SIGINT_BIT)
    }
#ifdef GONE
    unless {
        atomic { GONE -> forgetLocals(); forgetTheRun(); goto end_notSent }
    }
#endif
}

active proctype Terminate() provided (!suspended[_pid])
{
    byte me = NOBODY;
    byte interrupted, interruptedMask;
    LOCALS;
end_notSent: {
        deliver(SIGTERM_BIT);
        application_exit_signal(15);
        returnFromTheHandler(SIGTERM_BIT)
    }
#ifdef GONE
    unless {
        atomic { GONE -> forgetLocals(); forgetTheRun(); goto end_notSent }
    }
#endif
}

// Where nothing moves any more, and everybody who waits may do so.
active proctype AtRest()
{
end_notYet:
    timeout;
    assert(owed == 0) // a released loop sleeps for ever
}
