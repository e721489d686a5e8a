#pragma once

/// Ends the program after SIGINT and SIGTERM at any time after init(), and detects missing timer expiries.
///
/// A separate thread sleeps until it is needed. A program calls these in order:
///
/// @code
/// signals::hold();
/// app.init(&argc, argv, &options);
/// signals::endProgram();
/// // ... start-up: a signal ends the process at once, with the signal's status
/// signals::endLoop();
/// const int status = app.runEventLoop();   // a signal makes it return, with the signal's status
/// @endcode
namespace signals {

/// Blocks SIGINT, SIGTERM and SIGHUP until endProgram(). Must be called before init() and before the first thread.
void hold();

/// Installs the handlers, starts the thread and unblocks the signals, also if the program started with them blocked.
/// Throws SystemException.
///
/// After a SIGHUP the thread calls @p hangupCallback, which must return soon and not throw. A SIGHUP during start-up is
/// served after endLoop(). Without a callback, SIGHUP keeps its previous action.
void endProgram(void (*hangupCallback)() = nullptr);

/// Makes later signals end the loop instead of the process. The program must enter the loop within 20 s.
void endLoop();

/// Makes the thread call @p missing once if no expiry() comes for three periods. The system drops an expiry silently
/// when it cannot create a thread. May be called again with another period. Must follow endProgram().
void expectExpiries(int seconds, void (*missing)());

/// Reports an expiry of the timer.
void expiry();

}
