#pragma once

#include <brindle/time/Timer.hpp>

#include <optional>
#include <pthread.h>
#include <string>

/// Prints a beat in each period, and ends the program after the last.
///
/// Never destroyed, because a callback may run after stop().
class Heartbeat : public brindle::time::Timer {
public:
    Heartbeat(const std::string& speaker, int seconds, int count);

    void onTimeout() override;

    /// Writes a line to standard output with one system call, so lines of several threads do not mix.
    /// Throws SystemException.
    void say(const std::string& what) const;

private:
    std::optional<int> beat();

    const std::string name;
    const int beats;

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards the members below, because callbacks may overlap
    int beaten = 0;
    bool over = false;
};
