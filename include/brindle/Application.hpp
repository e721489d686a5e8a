#pragma once

#include <brindle/Export.hpp>

#include <atomic>
#include <string>
#include <vector>

namespace brindle {

class Option;

/// The frame of a program that starts, keeps running, and ends only when told to. There is one per process.
///
/// - Threads: one thread, normally the main one, calls init(), setForeword(), setAfterword(), parseArg(),
///   printHelp() and runEventLoop(). Any thread may call app(), exit(), appPath() and appPrefix(), and read
///   HasApplicationTerminated.
/// - Blocking: runEventLoop() until an exit request; exit() until the loop has taken it, at most about 20 s.
/// - Errors: statuses, as each function says. Messages are whole lines on standard error. Only `std::bad_alloc` is
///   thrown, and what `std::cout` and `std::cerr` throw if the program has set their `exceptions()`.
/// - Signals: from init() on, SIGINT and SIGTERM end the event loop. They may come at any time, together, again
///   and again, aimed at the process or at one thread: none is lost while the loop waits, none causes a hang,
///   and the interrupted code keeps its `errno`. One that comes while no loop waits only sets
///   HasApplicationTerminated. Signal handlers of the program may read and write HasApplicationTerminated, and use
///   nothing else here. They may stop the thread that they interrupt and wait: the library blocks all signals
///   while it holds its mutex, except SIGSEGV and those that an instruction raises like it.
///   `system()` ignores SIGINT and SIGQUIT while its command runs, so Ctrl-C does not end the loop then.
/// - Cancellation: `pthread_cancel` may hit a thread while the signal handler runs on it; it acts when the handler
///   is through. A thread that is cancelled in exit() withdraws its request. A thread inside runEventLoop() must
///   not be cancelled, and no function here may be called under asynchronous cancellation.
/// - Fork: allowed at any time, but not in a signal handler, through `fork` (which runs the handlers of
///   `pthread_atfork`). The child's event loop has no waiter. If another thread was ending the process, the child's
///   application cannot be ended: runEventLoop() waits without limit there, and exit() returns. The child of `vfork`
///   runs the handler on the parent's memory until it execs: a SIGTERM for the child alone ends the parent's loop
///   with 145. With uClibc-ng `malloc` may hang in the child of a program that has threads (measured on 1.0.35), so
///   there the child only calls exec or `_exit`.
/// - Lifetime: made by the first app(), destroyed at process exit. Signals and exit() are harmless after that. No
///   thread may end the process while another one is inside init(), parseArg() or printHelp().
///
/// @code
/// int main(int argc, char** argv)
/// {
///     Application& app = Application::app();
///     Option help("help", 'h', false, "Show this help text.");
///     std::vector<Option*> options = {&help};
///     if (app.init(&argc, argv, &options) != 0) {
///         return 1;                                   // init() has said why
///     }
///     int result = 0;
///     while ((result = app.parseArg()) == 0) {
///     }
///     if (result != -1) {
///         return app.printHelp(true);                 // the parser has said what was wrong
///     }
///     if (help.isSet()) {
///         return app.printHelp(false);
///     }
///     std::thread([] { work(); Application::app().exit(0); }).detach();
///     return app.runEventLoop();
/// }
/// @endcode
class BRINDLE_EXPORT Application {
public:
    /// The private state, defined inside the library.
    class ApplicationImpl;

    /// The process's one application.
    static Application& app();

    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Releases the two help texts at process exit.
    ~Application();

    /// Starts APR, prepares the parser, and installs the handlers of SIGINT and SIGTERM, also where the program
    /// was started with these ignored. Call it once, before any other thread exists that uses the application. The
    /// child of a fork may call it again.
    ///
    /// @param argumentCount  main's argc, by address.
    /// @param arguments      main's argv; not copied, not changed. It stays as it is to the last parseArg().
    /// @param options        the options to parse and to show in the help, none of them null. See Option for
    ///                       how long they must live. Null: nothing is parsed.
    /// @return 0, or what the failed step returned: an APR status, or a non-zero `atexit` result. One line on
    ///         standard error has named it then, no handler is installed, parseArg() returns −1, and the program
    ///         should end.
    int init(int* argumentCount, char** arguments, std::vector<Option*>* options);

    /// Takes the next option from the command line: marks it set, stores its argument, calls its
    /// Option::handleOption(). After a `std::bad_alloc` of its own nothing has changed, and the next call takes the
    /// same option.
    ///
    /// @return
    ///         - what handleOption() returned; 0 means: go on;
    ///         - −1 when no option is left: the words are used up, the next one is an operand, or it is "--";
    ///           also when init() was given no list, or failed;
    ///         - 1 when the next word is wrong: it is unknown, or a bare "-", or an argument is missing or not
    ///           wanted. The parser has said so on standard error, and no option was touched;
    ///         - any other APR status below APR_BADCH (70012), should the parser ever return one.
    ///
    /// Stop at the first 1: the parser does not move past an error inside a group of letters, so with "-axz"
    /// and an unknown x every further call returns the same 1. Stop at −1, too: a call after "--" would go on with
    /// the operands.
    ///
    /// Options come before operands: in "-v file -x" the "-x" is not looked at. The program reads its operands
    /// from its own argv.
    int parseArg();

    /// Writes the usage text, one row per option in the order of the list, to standard output, or to standard
    /// error if @p error. Leaves the stream's adjustment at left and its width at 0.
    ///
    /// @return what main may return: 2 if @p error, else 0.
    int printHelp(bool error);

    /// What follows the program's name on the usage line. Copied.
    void setForeword(const std::string& text);

    /// What stands below the option rows. Copied.
    void setAfterword(const std::string& text);

    /// The full path of the running executable, from /proc/self/exe (see proc(5)); empty, after two lines on
    /// standard error, if that cannot be read. Linux fails with ENAMETOOLONG for a path that does not fit a page (4,096
    /// bytes on most machines). Needs no init().
    std::string appPath() const;

    /// The part of appPath() in front of its first component equal to @p name, slashes in which do not count:
    /// for /opt/demo/bin/prog, "bin" gives "/opt/demo/", and so does "/bin/". The whole path and "/" if no
    /// component matches. Always begins and ends with "/"; just "/" if there is no path.
    std::string appPrefix(std::string name) const;

    /// Blocks until the first exit request or signal that finds it waiting, and returns the exit code: that
    /// of exit(), 132 after SIGINT, 145 after SIGTERM; the last one stored if several come at once. May be
    /// called again, for a new request. Needs a successful init(). While another thread is ending the process,
    /// no request can come any more, and the call waits for that end.
    ///
    /// A signal that came before is not remembered here. A program that may be told to end while it starts blocks both
    /// signals before init(), and after it installs a handler which wakes a thread of the program's. That thread runs:
    ///
    /// @code
    /// if (loopIsNext == 0) {                          // set right before runEventLoop()
    ///     _exit(signum + 130);                        // nothing needs an orderly end yet
    /// }
    /// Application::app().exit(signum + 130);          // tries until the loop waits
    /// @endcode
    ///
    /// templates/daemon/Signals.cpp has all of it, for a program to copy.
    int runEventLoop();

    /// Asks the event loop to end with @p code, from another thread. Returns once a waiting loop has been
    /// released, normally at once. While none waits, tries again every 200 ms, up to 100 times, then says so on
    /// standard error and ends the process with status 1. Needs a successful init().
    ///
    /// One request ends one runEventLoop(). A further one finds no loop and keeps trying while the program goes
    /// down. After its 20 s it calls `std::exit(1)`, so make one request only, or be down sooner. If the program is
    /// inside `std::exit` already, C leaves the effect undefined: glibc 2.36 and musl 1.2.3 run the remaining exit
    /// handlers and end the process with status 1; newer glibc and uClibc-ng wait for the first call. Of several
    /// requests that give up, one calls `std::exit` and the others wait for the end of the process.
    ///
    /// Do not join a thread that may be inside exit(): detach it, and return from main. Do not call exit() from exit
    /// handlers and destructors of static objects: before the application is destroyed, such a call has no loop to
    /// find, so it takes 20 s and then calls `std::exit` a second time. Once the application has been destroyed, or on
    /// the thread that has given up, exit() returns at once and without effect.
    void exit(int code);

    /// Whether SIGINT or SIGTERM has come; already true when runEventLoop() returns because of one. Set by the
    /// signal handler only, never by exit(). It has the size and layout of a `bool`, and to load or store it takes no
    /// lock on any machine.
    static std::atomic<bool> HasApplicationTerminated;

private:
    Application();

    ApplicationImpl& appImpl;
    int* argc = nullptr;
    char** argv = nullptr;
    std::string foreword;
    std::string afterword;
};

}
