#pragma once

#include <brindle/Export.hpp>

#include <atomic>
#include <string>
#include <vector>

namespace brindle {

class Option;

/// Starts a program, parses its command line, and waits in an event loop until the program is told to end.
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
///
/// - Threads: app(), exit(), appPath(), appPrefix() and HasApplicationTerminated are for any thread, all other
///   functions for one thread, normally the main one.
/// - Blocking: runEventLoop() waits without limit for an exit request; exit() waits for the loop, for about 20 s at
///   most.
/// - Errors: functions return a status and print whole lines on standard error. They throw only `std::bad_alloc`, and
///   what `std::cout` and `std::cerr` throw if the program has set their `exceptions()`.
/// - Signals: from init() on, SIGINT and SIGTERM end a waiting event loop; while none waits, they only set
///   HasApplicationTerminated. Handlers of the program may read and write that flag, and use nothing else here.
/// - Fork: the program may call `fork` at any time, but not in a signal handler. No loop waits in the child.
/// - Cancellation: a thread inside runEventLoop() must not be cancelled. No function here may be called under
///   asynchronous cancellation.
/// - Lifetime: the first app() makes the object, and process exit destroys it. Signals and exit() are harmless after
///   that. No thread may end the process while another thread is inside init(), parseArg() or printHelp().
///
/// docs/guides/signals-and-fork.md is a part of this contract.
class BRINDLE_EXPORT Application {
public:
    /// The private state, defined inside the library.
    class ApplicationImpl;

    /// The one application of the process.
    static Application& app();

    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Releases the two help texts at process exit.
    ~Application();

    /// Starts APR, prepares the parser, and installs the handlers of SIGINT and SIGTERM, even if these were ignored.
    /// Call it once, before any other thread exists that uses the application. The child of a fork may call it again.
    ///
    /// @param argumentCount  the address of main's argc.
    /// @param arguments      main's argv: neither copied nor changed. It must stay unchanged until the last parseArg().
    /// @param options        the options for parseArg() and printHelp(), none of them null. Option states how long they
    ///                       must live. If the list is null, nothing is parsed.
    /// @return 0, or the result of the step that failed: an APR status, or a non-zero `atexit` result. After a failure,
    ///         one line on standard error says what failed, no handler is installed, and parseArg() returns −1. The
    ///         program should end then.
    int init(int* argumentCount, char** arguments, std::vector<Option*>* options);

    /// Takes the next option from the command line: marks it as set, stores its argument, and calls its
    /// Option::handleOption(). A `std::bad_alloc` of parseArg() itself changes nothing: the next call takes the same
    /// option.
    ///
    /// @return
    ///         - the result of handleOption(); 0 means that parsing goes on;
    ///         - −1 when no option is left: the words are used up, the next one is an operand, or it is "--". Also when
    ///           init() was given no list, or failed;
    ///         - 1 when the next word is wrong: an unknown option, a bare "-", a missing argument, or an argument for
    ///           an option that takes none. The parser has printed an error, and no option has changed;
    ///         - any other APR status below APR_BADCH (70012), if the parser ever returns one.
    ///
    /// Stop at the first 1. The parser does not move past an error inside a group of letters: with "-axz" and an
    /// unknown x, every further call returns the same 1. Stop at −1 as well: a call after "--" would go on with the
    /// operands.
    ///
    /// Options come before operands: in "-v file -x" the "-x" is not parsed. The program reads its operands from its
    /// own argv.
    int parseArg();

    /// Writes the usage text, with one row per option in the order of the list, to standard output, or to standard
    /// error if @p error. Leaves the stream left-adjusted, with a width of 0.
    ///
    /// @return the status for main: 2 if @p error, else 0.
    int printHelp(bool error);

    /// Copies the text that follows the program's name on the usage line.
    void setForeword(const std::string& text);

    /// Copies the text below the option rows.
    void setAfterword(const std::string& text);

    /// The full path of the running executable, from /proc/self/exe (see proc(5)). Empty, after two lines on standard
    /// error, if that cannot be read. Linux fails with ENAMETOOLONG for a path that does not fit a page (4,096 bytes on
    /// most machines). Needs no init().
    std::string appPath() const;

    /// The part of appPath() before its first component that equals @p name. Slashes in @p name are ignored: for
    /// /opt/demo/bin/prog, "bin" and "/bin/" give "/opt/demo/". Without a match, the whole path and "/". Without a
    /// path, "/". The result always begins and ends with "/".
    std::string appPrefix(std::string name) const;

    /// Blocks until an exit request or a signal finds it waiting, and returns the exit code: that of exit(), 132 after
    /// SIGINT, 145 after SIGTERM. If several come at once, the last code stored counts. Needs a successful init(). May
    /// be called again, for a new request. While another thread ends the process, the call waits for that end.
    ///
    /// A signal that came before the call does not end the loop. docs/guides/exit-statuses.md shows how a program
    /// handles a signal during its start, and templates/daemon/Signals.cpp is the code for a program to copy.
    int runEventLoop();

    /// Asks the event loop to end with @p code, from another thread. Returns once a waiting loop has been released,
    /// normally at once. While none waits, it tries again every 200 ms, up to 100 times. Then it prints an error and
    /// ends the process with status 1. Needs a successful init().
    ///
    /// - Make one request only. It ends one runEventLoop(); a further one finds no loop, and ends the process with
    ///   status 1 after its 20 s, unless the program has ended before.
    /// - Do not join a thread that may be inside exit(): detach it, and return from main.
    /// - Do not call exit() in exit handlers and destructors of static objects.
    /// - Once the application has been destroyed, exit() returns at once and without effect.
    ///
    /// docs/guides/life-of-a-program.md gives the reasons, and has what C libraries do with a late request.
    void exit(int code);

    /// Whether SIGINT or SIGTERM has come; already true when runEventLoop() returns because of one. Only the signal
    /// handler sets it, never exit(). It has the size and layout of a `bool`, and a load or store takes no lock on any
    /// machine.
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
