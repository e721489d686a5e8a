#include "Heartbeat.hpp"

#include <brindle/Application.hpp>
#include <brindle/threads/ScopedLock.hpp>
#include <brindle/utility/SystemException.hpp>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <unistd.h>

using brindle::Application;
using brindle::threads::ScopedLock;
using brindle::utility::SystemException;

Heartbeat::Heartbeat(const std::string& speaker, int seconds, int count) : Timer(seconds), name(speaker), beats(count)
{
}

void Heartbeat::onTimeout()
{
    std::optional<int> exitCode;
    try {
        exitCode = beat();
    } catch (const std::exception& failure) { // a callback must not throw
        std::cerr << name << ": " << failure.what() << std::endl;
        exitCode = EXIT_FAILURE;
    }
    if (exitCode) {
        Application::app().exit(*exitCode); // without the mutex, because exit() waits until it releases the loop
    }
}

// Returns the exit code if the program must end.
std::optional<int> Heartbeat::beat()
{
    const ScopedLock lock(&mutex);
    if (over || Application::HasApplicationTerminated) { // the program ends already
        return std::nullopt;
    }
    over = true; // stays if say() throws
    ++beaten;
    say("beat " + std::to_string(beaten));
    over = beaten == beats;
    return over ? std::optional<int>(EXIT_SUCCESS) : std::nullopt;
}

void Heartbeat::say(const std::string& what) const
{
    const std::string line = name + ": " + what + "\n";
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t written = write(STDOUT_FILENO, line.data() + done, line.size() - done);
        if (written >= 0) {
            done += static_cast<std::size_t>(written);
        } else if (errno != EINTR) {
            throw SystemException("write to standard output", errno);
        }
    }
}
