#pragma once

#include <brindle/threads/CondVar.hpp>
#include <brindle/time/Timer.hpp>

#include <pthread.h>
#include <string>
#include <string_view>

/// Messages, the service manager, and a worker that a timer gives jobs.
namespace service {

/// What messages begin with. The program defines it.
extern const char NAME[];

/// From now on messages go to syslog(3): those of say() with priority "info", those of complain() with "err".
void useSyslog();

/// Writes a line to standard output or to syslog. std::cout would not do: the end of the program waits for a thread that is
/// blocked in writing there. Throws SystemException.
void say(const std::string& what);

/// Writes a line to standard error or to syslog. Allocates no memory for standard error.
void complain(std::string_view what);

/// Ends the program with status 1, after the first of perhaps several failures. The caller holds no mutex, because
/// Application::exit() waits for the loop.
void endAfter(std::string_view failure);

/// Sends a state such as READY=1 to the socket that NOTIFY_SOCKET names, as sd_notify(3) does. Does nothing without one.
void notify(const std::string& state);

/// Throws SystemException if standard output, which printHelp() has written to, has failed.
void checkOutput();

/// Gives a worker thread a job in each period. Never destroyed, because a callback may come late and the worker stays.
class Jobs : public brindle::time::Timer {
public:
    /// The worker calls @p work with the number of each job, and @p reload after requestReload(). An exception from them
    /// ends the program with status 1, but std::invalid_argument from @p reload is only a complaint.
    Jobs(int seconds, void (*work)(unsigned long), void (*reload)());

    /// Starts the worker and the timer. Throws SystemException.
    void begin();

    /// Makes the worker reload once its present job is done. Returns at once.
    void requestReload();

    /// Starts the timer anew if the period changes. For the worker alone, that is for @p reload. Throws SystemException.
    void setPeriod(int seconds);

    void onTimeout() override;

private:
    void serve();
    void arm();
    bool takeJob();
    void reloadSettings();

    void (*const doWork)(unsigned long);
    void (*const doReload)();

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows
    brindle::threads::CondVar arrival;
    int waiting = 0; // jobs
    bool isReloadWanted = false;
};

/// Runs the event loop between READY=1 and STOPPING=1. Returns the status for main().
int runLoop();

}
