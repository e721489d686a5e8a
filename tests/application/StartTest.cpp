#include "StandIns.hpp"

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <apr_getopt.h>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <iostream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <wordexp.h>

using brindle::Application;
using brindle::Option;

namespace {

// Of the calls that init() makes, the one that counts down to 0 fails. The parser pretends any status but 0.
int callsToFailure = 0, parserStatus = APR_SUCCESS;
std::string executable = "/usr/local/bin/demo"; // empty: cannot be read
std::atomic<bool> waitsForTheEnd = false;
long now = 0; // milliseconds of a clock on which nobody has to wait

struct RefusesBad : Option {
    using Option::Option;
    int handleOption() override { return (errorText = isSet() && argument() != "bad" ? "" : " bad").empty() ? 0 : 1; }
};

wordexp_t words;
Option lost("lost", 'l', false, "Lost."), all("all", 'a', false, "All. "), even("even", 256, false, "Even.");
Option odd("odd", 255, false, "Odd."), shadowed("other", 'a', false, "Other."), nameless("", 'n', true, "Nameless. ");
RefusesBad port("port", 'p', true, "");
std::vector<Option*> options = {&lost, &all, &port, &even, &odd, &shadowed, &nameless};

int start(const std::string& commandLine)
{
    wordexp(("program " + commandLine).c_str(), &words, 0);
    static int argc = static_cast<int>(words.we_wordc);
    return Application::app().init(&argc, words.we_wordv, commandLine.empty() ? nullptr : &options);
}

// In a process of its own, since a program starts its application once.
template <typename Program>
void expectEnd(int status, const std::string& message, Program program)
{
    EXPECT_EXIT((alarm(60), _exit(program())), testing::ExitedWithCode(status), testing::Eq(message));
}

// What init() and each parseArg() returned, up to the first that was not 0, and what they printed; the handlers that are
// missing; and the options set, with their arguments.
void expectOutcome(const std::string& outcome, const char* commandLine, int failingCall = 0, apr_status_t status = 0)
{
    expectEnd(0, outcome, [=] {
        Application& app = Application::app();
        all.setDefault("default");
        callsToFailure = failingCall;
        parserStatus = status;
        std::signal(SIGINT, SIG_IGN);                   // as a shell starts what runs in the background
        struct sigaction usual = {}, forInterrupt = {}; // system calls go on, but ThreadSanitizer hides the flag
        std::signal(SIGUSR1, [](int) {});
        sigaction(SIGUSR1, nullptr, &usual);
        int result = start(commandLine);
        options.erase(options.begin()); // lost
        for (; result == 0; result = app.parseArg()) {
            std::cerr << "0 ";
        }
        sigaction(SIGINT, nullptr, &forInterrupt);
        const bool handles = forInterrupt.sa_handler != SIG_IGN && forInterrupt.sa_flags == usual.sa_flags;
        std::cerr << result << port.errors() << (handles ? "" : " no SIGINT")
                  << (std::signal(SIGTERM, SIG_DFL) == SIG_DFL ? " no SIGTERM" : "");
        for (std::size_t i = 0; i < options.size(); ++i) {
            options[i]->isSet() ? std::cerr << ' ' << "apeosn"[i] << '=' << options[i]->argument() : std::cerr;
        }
        return 0;
    });
}

}

// What the library asks of APR and of the system. APR makes two pools of its own first.

apr_status_t apr_pool_create_ex(apr_pool_t** pool, apr_pool_t* parent, apr_abortfunc_t abort, apr_allocator_t* from)
{
    return --callsToFailure == 0 ? APR_EINVAL : REAL_CALL(apr_pool_create_ex)(pool, parent, abort, from);
}

apr_status_t apr_getopt_init(apr_getopt_t** parser, apr_pool_t* pool, int count, const char* const* from)
{
    return --callsToFailure == 0 ? APR_EINVAL : REAL_CALL(apr_getopt_init)(parser, pool, count, from);
}

apr_status_t apr_getopt_long(apr_getopt_t* parser, const apr_getopt_option_t* table, int* code, const char** argument)
{
    return parserStatus != 0 ? parserStatus : REAL_CALL(apr_getopt_long)(parser, table, code, argument);
}

void apr_terminate()
{
    std::cerr << "APR ends after " << now << " ms\n";
}

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* object) noexcept
{
    return --callsToFailure == 0 ? -1 : REAL_CALL(__cxa_atexit)(function, argument, object);
}

// Where ThreadSanitizer brings its own atexit, that one is the library's; elsewhere it is part of each module.
int atexit(void (*function)()) noexcept
{
    return __cxa_atexit(reinterpret_cast<void (*)(void*)>(function), nullptr, nullptr);
}

ssize_t readlink(const char* link, char* buffer, size_t size) noexcept
{
    EXPECT_STREQ("/proc/self/exe", link);
    errno = errno == 0 ? ENOENT : EIO; // an old one would show
    return executable.empty() ? -1 : static_cast<ssize_t>(executable.copy(buffer, size));
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    *time = {now / 1000, now % 1000 * 1'000'000};
    return clock == CLOCK_MONOTONIC ? 0 : REAL_CALL(clock_gettime)(clock, time);
}

// Each sleep of exit() is interrupted once, after 50 ms.
int clock_nanosleep(clockid_t clock, int flags, const timespec* end, timespec*)
{
    const bool valid = clock == CLOCK_MONOTONIC && flags == TIMER_ABSTIME && end->tv_nsec < 1'000'000'000;
    now = now % 200 == 0 ? now + 50 : static_cast<long>(end->tv_sec) * 1000 + end->tv_nsec / 1'000'000;
    return !valid ? EINVAL : now % 200 == 50 ? EINTR : 0;
}

int pause()
{
    waitsForTheEnd = true;
    return REAL_CALL(pause)();
}

TEST(Init, ReportsTheStepThatFailedAndInstallsNoHandlerThen)
{
    for (const int call : {1, 3, 4}) {
        expectOutcome("Error when initializing application. Invalid argument\n22 no SIGINT no SIGTERM", "-a", call);
    }
    expectOutcome("APR ends after 0 ms\n"
                  "INTERNAL ERROR! Unable to register APR cleaning operations.\n-1 no SIGINT no SIGTERM",
                  "", 4);
}

TEST(Init, LeavesNoParserInAPoolThatIsGone)
{
    const char* const message = "APR ends after 0 ms\nINTERNAL ERROR! Unable to register APR cleaning operations.\n";
    expectEnd(0, message, [] {
        Application& app = Application::app();
        callsToFailure = 5; // atexit
        start("-a");
        return app.parseArg() == -1 ? 0 : 1;
    });
}

TEST(Init, MayBeCalledAgainAndLeavesNoSignalBlockedAfterAFork)
{
    expectEnd(0, "", [] {
        start("-a");
        start("-a");
        const pid_t child = fork();
        sigset_t blocked = {};
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        const bool isSound = sigismember(&blocked, SIGINT) == 0 && Application::app().parseArg() == 0;
        if (child == 0) {
            _exit(isSound ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return isSound && status == 0 ? 0 : 1;
    });
}

// How requests and signals end a waiting loop is shown elsewhere.
TEST(ExitRequest, EndsTheProcessOnceWhereTwoThreadsGiveUpAfterAHundredAttempts)
{
    const char* const message = "Tried to exit cleanly, but we could never exit the event loop. Please speak to the "
                                "maintainer. Force exit!\nAPR ends after 40000 ms\n";
    expectEnd(1, message, [] {
        start("-a");
        std::atexit([] {
            Application::app().exit(2); // returns at once on the thread that ends the process
            std::thread([] { Application::app().exit(3); }).detach();
            while (!waitsForTheEnd) {
                std::this_thread::yield();
            }
        });
        Application::app().exit(4);
        return 0;
    });
}

TEST(CommandLine, IsTakenWordByWord)
{
    expectOutcome("0 -1", ""); // without a list
    expectOutcome("0 0 0 0 -1 a=default p=8", "-ap 7 -p8 -- -a");
    expectOutcome("0 0 0 0 0 0 -1 a=default p=a=b e= n=7", "--port=a=b --all --other --even --=7 x -p7");
    expectOutcome("0 0 0 program: invalid option: --eve\n1 p=", "--port -- --port= --eve");
    expectOutcome("0 0 program: missing argument: --port\n1 p=-a", "-p -a --port");
    expectOutcome("0 0 program: invalid option character: x\n1 a=default", "-axp7");
    expectOutcome("0 program: erroneous argument: --even=yes\n1", "--even=yes");
    expectOutcome("0 1 bad p=bad", "-p bad -a");
    expectOutcome("0 1", "-l");
    expectOutcome("0 70011", "-a", 0, APR_BADCH - 1);
    expectOutcome("0 -1", "-a", 0, APR_EOF + 1);
}

TEST(CommandLine, IsUnchangedWhereMemoryRunsOut)
{
    expectEnd(0, "", [] {
        start("-p 12345678901234567890");
        allocations::untilFailure = 1;
        EXPECT_THROW(Application::app().parseArg(), std::bad_alloc);
        const bool wasUntouched = !port.isSet();
        const bool isTakenAgain = Application::app().parseArg() == 0 && port.argument() == "12345678901234567890";
        return wasUntouched && isTakenAgain ? 0 : 1;
    });
}

TEST(Option, IsCopiedIntoAVectorAndNotHalfChangedWhereMemoryRunsOut)
{
    std::vector<Option> list;
    list.emplace_back("port", 'p', true, "Port to listen on. ");
    list.back().setDefault("80");
    list.emplace_back("host", 'h', true, "");
    allocations::untilFailure = 2; // the first is the copy of the value
    EXPECT_THROW(list[0].setDefault("a port that is longer than any short string"), std::bad_alloc);
    EXPECT_EQ("80", list[0].argument());
}

TEST(Help, LeavesTheWidthOfAFailedStreamAtZero)
{
    expectEnd(0, "", [] {
        start("-a");
        std::cerr.setstate(std::ios::badbit);
        Application::app().printHelp(true);
        return static_cast<int>(std::cerr.width());
    });
}

TEST(Help, ShowsEveryOptionInOrderAsItsDescriptionIsNow)
{
    Application& app = Application::app();
    expectEnd(2, "Usage: demo \n\n\n\n", [&app] {
        executable = "demo"; // without a slash
        return start("") + app.printHelp(true);
    });
    start("-a");
    app.setForeword("replaced");
    app.setForeword("[options] file");
    app.setAfterword("Files are read in order.");
    all.setDefault("3");
    all.setDefault("");
    const std::string expected = "Usage: demo [options] file\n\n"
                                 "  -l, --lost   Lost.\n"
                                 "  -a, --all    All. Default: 3Default: \n"
                                 "  -p, --port   \n"
                                 "  --even       Even.\n"
                                 "  -\xff, --odd    Odd.\n"
                                 "  -a, --other  Other.\n"
                                 "  -n           Nameless. \n"
                                 "\nFiles are read in order.\n";
    expectEnd(2, expected, [&app] { return app.printHelp(true); });
    expectEnd(0, "", [&app] { return app.printHelp(false); }); // what is printed then, a transcript shows
    EXPECT_EQ("", all.argument());
}

TEST(Paths, AreWholeAndCutInFrontOfTheFirstComponentOfThatName)
{
    const Application& app = Application::app();
    for (const std::size_t length : {126U, 127U, 128U, 129U, 255U, 256U, 257U, 4095U}) {
        executable = "/" + std::string(length - 1, 'x');
        EXPECT_EQ(executable, app.appPath());
    }
    executable = "/opt/bin2/bi/bin/demo/bin/prog";
    EXPECT_EQ("/", app.appPrefix("/o/pt//"));
    EXPECT_EQ("/opt/bin2/bi/", app.appPrefix("bin"));
    EXPECT_EQ("/opt/bin2/bi/bin/demo/bin/", app.appPrefix("prog"));
    for (const char* const other : {"lib", "", "demo/bin", "Bin"}) {
        EXPECT_EQ(executable + "/", app.appPrefix(other));
    }
    executable = "";
    const char* const message = "Failed to determine location of this binary, is /proc mounted?\n"
                                "Error was: No such file or directory\n";
    expectEnd(0, message, [&app] { return app.appPrefix("bin") == "/" ? 0 : 1; });
}
