#include <brindle/Application.hpp>

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

using brindle::Application;

// How requests and signals end a waiting loop is shown by the program that fuzzes their timing.
TEST(ExitRequest, EndsTheProcessWhenNobodyEverWaits)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            int argc = 0;
            char* argv[] = {nullptr};
            Application::app().init(&argc, argv, nullptr);
            std::thread worker([] { Application::app().exit(3); });
            while (true) {
                pthread_kill(worker.native_handle(), SIGINT); // must not use up its patience
                usleep(100);
            }
        },
        testing::ExitedWithCode(1),
        "^Tried to exit cleanly, but we could never exit the event loop\\. "
        "Please speak to the maintainer\\. Force exit!\n$");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}
