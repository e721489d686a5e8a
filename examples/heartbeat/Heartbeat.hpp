#pragma once

#include <brindle/time/Timer.hpp>

#include <optional>
#include <pthread.h>
#include <string>

/// Says a beat per period, and ends the program after the last.
///
/// Never destroyed, since a callback may come late.
class Heartbeat : public brindle::time::Timer {
public:
    Heartbeat(const std::string& speaker, int seconds, int count);

    void onTimeout() override;

    /// Writes a line to standard output, in one piece: lines of several threads do not mix.
    /// Throws SystemException.
    void say(const std::string& what) const;

private:
    std::optional<int> beat();

    const std::string name;
    const int beats;

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows: callbacks may overlap
    int beaten = 0;
    bool over = false;
};
