#pragma once

#include <brindle/threads/CondVar.hpp>
#include <brindle/time/Timer.hpp>

#include <pthread.h>
#include <string>
#include <string_view>

/// Messages, reports to the service manager, and a worker that gets jobs from a timer.
namespace service {

/// The prefix of messages. The program defines it.
extern const char NAME[];

/// Sends later messages to syslog(3): those of say() with priority "info", those of complain() with "err".
void useSyslog();

/// Writes a line to standard output or to syslog. Throws SystemException.
///
/// It does not use std::cout, because the end of the program would wait for a thread that is blocked in a write there.
void say(const std::string& what);

/// Writes a line to standard error or to syslog. Allocates no memory for standard error.
void complain(std::string_view what);

/// Ends the program with status 1. Only the first failure is reported. The caller must hold no mutex, because
/// Application::exit() waits for the loop.
void endAfter(std::string_view failure);

/// Sends a state such as READY=1 to the socket in NOTIFY_SOCKET, like sd_notify(3). Does nothing without that variable.
void notify(const std::string& state);

/// Throws SystemException if a write of printHelp() to standard output has failed.
void checkOutput();

/// Gives a worker thread a job in each period. Never destroyed, because the worker and late callbacks use it.
class Jobs : public brindle::time::Timer {
public:
    /// The worker calls @p work with the number of each job, and @p reload after requestReload(). An exception ends the
    /// program with status 1, except std::invalid_argument from @p reload, which is only reported.
    Jobs(int seconds, void (*work)(unsigned long), void (*reload)());

    /// Starts the worker and the timer. Throws SystemException.
    void begin();

    /// Makes the worker reload after its present job. Returns at once.
    void requestReload();

    /// Restarts the timer if the period changes. Only the worker may call it, in @p reload. Throws SystemException.
    void setPeriod(int seconds);

    void onTimeout() override;

private:
    void serve();
    void arm();
    bool takeJob();
    void reloadSettings();

    void (*const doWork)(unsigned long);
    void (*const doReload)();

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards the members below
    brindle::threads::CondVar arrival;
    int waiting = 0; // jobs
    bool isReloadWanted = false;
};

/// Sends READY=1, runs the event loop, and sends STOPPING=1. Returns the status for main().
int runLoop();

}
