#pragma once

/// Ends the program after SIGINT and SIGTERM, at any moment after init(), and watches that expiries come.
///
/// One thread sleeps until there is something to do. A program calls these in order:
///
/// @code
/// signals::hold();
/// app.init(&argc, argv, &options);
/// signals::endProgram();
/// // ... the start: a signal ends the process at once, with the signal's status
/// signals::endLoop();
/// const int status = app.runEventLoop();   // a signal makes it return, with the signal's status
/// @endcode
namespace signals {

/// Blocks SIGINT, SIGTERM and SIGHUP. Needed before init() and before the first thread: until endProgram(), they wait.
void hold();

/// Takes the signals from now on: installs the handlers, starts the thread and unblocks the signals, also those that
/// were blocked when the program was started. Throws SystemException.
///
/// After a SIGHUP the thread calls @p hangupCallback, which returns soon and throws nothing. A SIGHUP of the start waits for
/// endLoop(). Without a callback, SIGHUP keeps its former effect.
void endProgram(void (*hangupCallback)() = nullptr);

/// From now on a signal ends the loop, which must be entered within 20 s, instead of the process.
void endLoop();

/// Calls @p missing once, on the thread, when no expiry() came for three periods: the system drops an expiry without a
/// report when it can make no thread. May be called again with another period. Needs endProgram().
void expectExpiries(int seconds, void (*missing)());

/// Tells that an expiry has come.
void expiry();

}
