#include "Service.hpp"

#include "Signals.hpp"

#include <brindle/Application.hpp>
#include <brindle/threads/ScopedLock.hpp>
#include <brindle/utility/SystemException.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <syslog.h>
#include <system_error>
#include <thread>
#include <unistd.h>

using brindle::Application;
using brindle::threads::ScopedLock;
using brindle::utility::SystemException;

namespace service {

namespace {

constexpr int PATIENCE = 3; // jobs that wait for the worker

std::atomic<int> toSyslog = 0;
std::atomic_flag hasFailed = ATOMIC_FLAG_INIT;

// Allocates nothing, because the system may have no memory left.
void endWithoutExpiries()
{
    endAfter("no expiry for three periods: the system could make no thread for one");
}

// WatchdogSec in the unit fits the default period. The worker may be late by PATIENCE periods, so a longer period needs
// a longer limit.
void announcePeriod(int seconds)
{
    signals::expectExpiries(seconds, endWithoutExpiries);
    const char* const limit = std::getenv("WATCHDOG_USEC");
    if (limit != nullptr) {
        const long long microseconds = std::max((PATIENCE + 1) * 1'000'000LL * seconds, std::atoll(limit));
        notify("WATCHDOG_USEC=" + std::to_string(microseconds));
    }
}

// The value of NOTIFY_SOCKET is a path, or "@" and the name of an abstract address.
void sendTo(const char* path, const std::string& state)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::min(std::strlen(path), sizeof address.sun_path - 1);
    std::copy_n(path, length, address.sun_path);
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0';
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor == -1 || sendto(descriptor, state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                                   reinterpret_cast<const sockaddr*>(&address), size) == -1) {
        complain(SystemException("notify the service manager", errno).what());
    }
    if (descriptor != -1) {
        close(descriptor);
    }
}

}

void useSyslog()
{
    openlog(NAME, LOG_PID, LOG_DAEMON);
    toSyslog = 1;
}

void say(const std::string& what)
{
    const std::string line = what + "\n";
    if (toSyslog != 0) {
        syslog(LOG_INFO, "%s", what.c_str());
    } else if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
        throw SystemException("write to standard output", errno);
    }
}

void complain(std::string_view what)
{
    if (toSyslog != 0) {
        syslog(LOG_ERR, "%.*s", static_cast<int>(what.size()), what.data());
        return;
    }
    char colon[] = ": ";
    char end[] = "\n";
    const iovec parts[] = {{const_cast<char*>(NAME), std::strlen(NAME)},
                           {colon, sizeof colon - 1},
                           {const_cast<char*>(what.data()), what.size()},
                           {end, sizeof end - 1}};
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, 4); // a failure cannot be reported
}

void endAfter(std::string_view failure)
{
    if (!hasFailed.test_and_set()) {
        complain(failure);
        Application::app().exit(1);
    }
}

void notify(const std::string& state)
{
    const char* const path = std::getenv("NOTIFY_SOCKET");
    if (path != nullptr) {
        sendTo(path, state);
    }
}

void checkOutput()
{
    std::cout.flush();
    if (!std::cout || std::ferror(stdout) != 0) { // on uClibc-ng the stream stays good
        throw SystemException("write to standard output", errno);
    }
}

Jobs::Jobs(int seconds, void (*work)(unsigned long), void (*reload)()) : Timer(seconds), doWork(work), doReload(reload)
{
}

void Jobs::begin()
{
    try {
        std::thread([this] { serve(); }).detach();
    } catch (const std::system_error& failure) {
        throw SystemException("make the worker's thread", failure.code().value());
    }
    arm();
}

void Jobs::requestReload()
{
    const ScopedLock lock(&mutex);
    isReloadWanted = true;
    arrival.signal();
}

void Jobs::setPeriod(int seconds)
{
    if (seconds != duration()) {
        setDuration(seconds);
        arm();
    }
}

void Jobs::arm()
{
    if (start() != 0) {
        throw SystemException("start the timer", errno);
    }
    announcePeriod(duration());
}

void Jobs::onTimeout()
try {
    signals::expiry();
    const ScopedLock lock(&mutex);
    if (waiting == PATIENCE) {
        throw std::runtime_error("the worker is stuck: " + std::to_string(waiting) + " jobs wait for it");
    }
    ++waiting;
    arrival.signal();
} catch (const std::exception& failure) { // a callback must not throw; the mutex is unlocked here
    endAfter(failure.what());
}

void Jobs::serve() // runs on the worker's thread
try {
    for (unsigned long job = 1;;) {
        if (takeJob()) {
            doWork(job);
            ++job;
            notify("WATCHDOG=1");
        } else {
            reloadSettings();
        }
    }
} catch (const std::exception& failure) {
    endAfter(failure.what());
}

// Waits for a job or a reload. Returns false for a reload.
bool Jobs::takeJob()
{
    const ScopedLock lock(&mutex);
    while (waiting == 0 && !isReloadWanted) {
        arrival.wait(&mutex);
    }
    const bool isJob = !isReloadWanted;
    isReloadWanted = false;
    waiting -= isJob ? 1 : 0;
    return isJob;
}

void Jobs::reloadSettings()
try {
    doReload();
} catch (const std::invalid_argument& mistake) {
    complain(mistake.what());
}

int runLoop()
{
    signals::endLoop();
    notify("READY=1");
    const int status = Application::app().runEventLoop();
    notify("STOPPING=1");
    return status;
}

}
