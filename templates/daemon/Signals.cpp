#include "Signals.hpp"

#include <brindle/Application.hpp>
#include <brindle/utility/SystemException.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>

using brindle::Application;
using brindle::utility::SystemException;
using std::chrono::milliseconds;

namespace signals {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int STATUS_BASE = 130; // same as in runEventLoop()
constexpr int PATIENCE = 3;      // periods

pid_t program = 0;
int wakeUpPipe[2] = {-1, -1};
std::atomic<int> firstSignal = 0; // later ones have no effect
std::atomic<int> loopIsNext = 0;
std::atomic<void (*)()> onHangup = nullptr;
std::atomic<int> hangup = 0; // a SIGHUP is pending for onHangup
std::atomic<unsigned> expiries = 0;
std::atomic<int> period = 0; // in seconds; 0 if no expiry is expected
std::atomic<void (*)()> reportMissing = nullptr;

void mask(int how)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    pthread_sigmask(how, &signals, nullptr);
}

// Async-signal-safe. A full pipe also wakes the thread.
void wakeThread()
{
    [[maybe_unused]] const ssize_t written = write(wakeUpPipe[1], "", 1);
}

void handle(int signum)
{
    const int interruptedErrno = errno;
    if (getpid() == program) {
        if (signum == SIGHUP) {
            hangup = 1;
        } else {
            int none = 0;
            firstSignal.compare_exchange_strong(none, signum);
            Application::HasApplicationTerminated = true;
        }
        wakeThread();
    } else { // a child between fork and exec shares the pipe, but the signal is for the child only
        std::signal(signum, SIG_DFL);
        kill(getpid(), signum);
    }
    errno = interruptedErrno;
}

// Sleeps until the pipe has something to read, or until the deadline.
void sleepUntil(Clock::time_point deadline, bool forEver)
{
    const auto rest = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    pollfd wakeUp = {wakeUpPipe[0], POLLIN, 0};
    if (poll(&wakeUp, 1, forEver ? -1 : static_cast<int>(std::max<milliseconds::rep>(rest.count(), 0))) > 0) {
        char bytes[64];
        [[maybe_unused]] const ssize_t taken = read(wakeUpPipe[0], bytes, sizeof bytes);
    }
}

// A SIGHUP during start-up stays pending until endLoop(), which wakes this thread.
void serveHangup()
{
    if (loopIsNext != 0 && hangup.exchange(0) != 0) {
        onHangup.load()();
    }
}

// Returns after SIGINT or SIGTERM. Checks the expiries once in three periods, so that the thread seldom wakes.
void waitForSignal()
{
    int watched = 0;
    unsigned seen = 0;
    Clock::time_point start;
    while (firstSignal == 0) {
        serveHangup();
        const Clock::time_point now = Clock::now();
        const std::chrono::seconds one(period);
        const bool isOver = watched != 0 && now - start >= PATIENCE * one;
        // A process that was stopped and continued sleeps too long, and its expiries may also be late.
        if (isOver && seen == expiries && now - start < (PATIENCE + 1) * one) {
            reportMissing.load()();
            return;
        }
        if (isOver || watched != period) {
            watched = period;
            seen = expiries;
            start = now;
        }
        sleepUntil(start + PATIENCE * std::chrono::seconds(watched), watched == 0);
    }
}

// Before endLoop(), nothing needs an orderly end and the start may block for ever. So the process ends at once, also if
// this thread sees the signal just before endLoop(). After endLoop(), exit() tries until the loop waits.
void serve()
{
    waitForSignal();
    const int signum = firstSignal;
    if (signum == 0) {
        return; // reportMissing ends the program
    }
    if (loopIsNext == 0) {
        _exit(signum + STATUS_BASE);
    }
    Application::app().exit(signum + STATUS_BASE);
}

// Avoids descriptors 0, 1 and 2. If they were closed, the program's standard output would go into the pipe.
void makePipe()
{
    if (pipe2(wakeUpPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw SystemException("make the pipe for signals", errno);
    }
    for (int& end : wakeUpPipe) {
        const int made = end;
        end = fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (end == -1) {
            throw SystemException("make the pipe for signals", errno);
        }
        close(made);
    }
}

}

void hold()
{
    mask(SIG_BLOCK);
}

void endProgram(void (*hangupCallback)())
{
    program = getpid();
    onHangup = hangupCallback;
    makePipe();
    struct sigaction action = {};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART; // interrupted calls of the program restart
    sigemptyset(&action.sa_mask);
    if (sigaction(SIGINT, &action, nullptr) != 0 || sigaction(SIGTERM, &action, nullptr) != 0 ||
        (hangupCallback != nullptr && sigaction(SIGHUP, &action, nullptr) != 0)) {
        throw SystemException("install the handlers", errno);
    }
    try {
        std::thread(serve).detach();
    } catch (const std::system_error& failure) {
        throw SystemException("make the thread for signals", failure.code().value());
    }
    mask(SIG_UNBLOCK);
}

void endLoop()
{
    loopIsNext = 1;
    wakeThread(); // a SIGHUP may be pending
}

void expectExpiries(int seconds, void (*missing)())
{
    reportMissing = missing;
    period = seconds;
    wakeThread();
}

void expiry()
{
    ++expiries;
}

}
