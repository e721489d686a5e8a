#pragma once

// What the storms share.

#include "support/Stress.hpp"

#include <brindle/Application.hpp>

#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <unistd.h>

/// For a process that ends by SIGALRM if it hangs.
inline void startApplication()
{
    alarm(SECONDS_TO_A_HANG);
    int argc = 0;
    char* argv[] = {nullptr};
    brindle::Application::app().init(&argc, argv, nullptr);
}

/// Repeats the action on another thread until the process ends, with pauses of up to 200 µs at random.
template <typename Action>
void repeatInBackground(unsigned seed, Action action)
{
    std::thread([=] {
        std::minstd_rand random(seed);
        while (true) {
            usleep(static_cast<useconds_t>(random() % 200));
            action();
        }
    }).detach();
}
