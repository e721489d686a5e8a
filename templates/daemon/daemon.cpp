// @NAME@: a timer gives a worker a job every so many seconds, until a signal or a failure ends the program.

#include "Signals.hpp"

#include <brindle/Application.hpp>
#include <brindle/Configuration.hpp>
#include <brindle/Option.hpp>
#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>
#include <brindle/time/Timer.hpp>
#include <brindle/utility/SystemException.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>

using brindle::Application;
using brindle::Option;
using brindle::threads::ScopedLock;
using brindle::utility::SystemException;

namespace {

/// Not through std::cout: the end of the program would wait for a thread that is stuck in writing there.
void say(const std::string& what)
{
    const std::string line = what + "\n";
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
        throw SystemException("write to standard output", errno);
    }
}

/// Your work goes here. An exception ends the daemon with status 1. The end of the program waits for no job that is under
/// way: what may not be half done is written to a new file, which is then renamed.
void work(unsigned long job)
{
    say("job " + std::to_string(job) + " done");
}

/// Says what was wrong, and returns the status to end with.
int complain(const std::exception& problem, int status)
{
    const std::string line = std::string("@NAME@: ") + problem.what() + "\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size()); // a failure could not be said
    return status;
}

std::atomic_flag hasFailed = ATOMIC_FLAG_INIT;

/// Ends the program after the first of perhaps several failures. Hold no mutex here: exit() waits for the loop.
void endAfter(const std::exception& failure)
{
    if (!hasFailed.test_and_set()) {
        Application::app().exit(complain(failure, 1));
    }
}

/// Ends the program when the system makes no thread for an expiry. It may have no memory left, so this allocates none.
void endWithoutExpiries()
{
    constexpr std::string_view line = "@NAME@: no expiry for three periods: the system could make no thread for one\n";
    if (!hasFailed.test_and_set()) {
        [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
        Application::app().exit(1);
    }
}

/// Gives the worker a job for each period. Never destroyed, since a callback may come late and the worker stays.
class Daemon : public brindle::time::Timer {
public:
    using Timer::Timer;

    void onTimeout() override
    try {
        signals::expiry();
        const ScopedLock lock(&mutex);
        if (jobs == PATIENCE) {
            throw std::runtime_error("the worker is stuck: " + std::to_string(jobs) + " jobs wait for it");
        }
        ++jobs;
        arrival.signal();
    } catch (const std::exception& failure) { // none may leave a callback; the mutex is free by now
        endAfter(failure);
    }

    void serve() // the worker's whole life
    try {
        for (unsigned long job = 1;; ++job) {
            ScopedLock lock(&mutex);
            while (jobs == 0) {
                arrival.wait(&mutex);
            }
            --jobs;
            lock.unlock();
            work(job);
        }
    } catch (const std::exception& failure) {
        endAfter(failure);
    }

private:
    static constexpr int PATIENCE = 3;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows
    brindle::threads::CondVar arrival;
    int jobs = 0; // that wait
};

/// The settings in a file. A key that nobody knows is a mistake, since one that is misspelt would have no effect.
class File : public brindle::Configuration {
public:
    void read(const std::string& path)
    {
        std::error_code none;
        if (std::filesystem::is_directory(path, none) || !readCfgFile(path)) {
            throw std::invalid_argument("'" + path + "' is not a file that can be read");
        }
        const auto unknown =
            std::find_if(entries.begin(), entries.end(), [](const auto& entry) { return entry.first != "interval"; });
        if (unknown != entries.end()) {
            throw std::invalid_argument(path + ": '" + unknown->first +
                                        "=' sets nothing; write interval=5 without blanks");
        }
    }
};

int secondsIn(const std::string& text)
{
    int seconds = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || stop != end || seconds < 1 || seconds > 86400) {
        throw std::invalid_argument("interval: '" + text + "' is not a whole number from 1 to 86400");
    }
    return seconds;
}

}

int main(int argc, char** argv)
try {
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is a failed write, whichever thread writes
    Option help("help", 'h', false, "Show this help text.");
    Option version("version", 'V', false, "Show the version.");
    Option config("config", 'c', true, "Read what is not set here from FILE. ");
    Option interval("interval", 'i', true, "Work every SECONDS, 1 to 86400. ");
    config.setDefault(Application::app().appPrefix("sbin") + DAEMON_FILE);
    interval.setDefault("5");
    std::vector<Option*> options = {&help, &version, &config, &interval};

    Application& app = Application::app();
    app.setForeword("[options]");
    app.setAfterword("Ends with status 145 after SIGTERM, 132 after SIGINT, 1 after a failure, 2 after a mistake.");
    signals::hold();
    if (app.init(&argc, argv, &options) != 0) {
        return 1; // init() has said why
    }
    signals::endProgram();
    int parsed = 0;
    while (parsed == 0) {
        parsed = app.parseArg();
    }
    if (parsed != -1 || help.isSet()) {
        return app.printHelp(parsed != -1); // the parser has said what was wrong
    }
    if (version.isSet()) {
        say("@NAME@ " DAEMON_VERSION);
        return 0;
    }
    File file;
    std::error_code none;
    if (config.isSet() || std::filesystem::exists(config.argument(), none)) {
        file.read(config.argument());
    }
    std::string seconds = interval.argument();
    if (!interval.isSet()) {
        file.getOption("interval", seconds);
    }

    static Daemon& daemon = *new Daemon(secondsIn(seconds));
    say("a job every " + seconds + " s");
    try {
        std::thread([] { daemon.serve(); }).detach();
    } catch (const std::system_error& failure) {
        throw SystemException("make the worker's thread", failure.code().value());
    }
    if (daemon.start() != 0) {
        throw SystemException("start the timer", errno);
    }
    signals::expectExpiries(daemon.duration(), endWithoutExpiries);
    signals::endLoop();
    const int status = app.runEventLoop();
    daemon.stop();
    return status;
} catch (const std::invalid_argument& mistake) {
    return complain(mistake, 2);
} catch (const std::exception& failure) {
    return complain(failure, 1);
}
