#include "RealCall.hpp"

#include <brindle/Application.hpp>

#include <atomic>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using brindle::Application;

namespace {

pthread_t loopThread;
std::atomic<pid_t> helperId = 0;
std::atomic<bool> helperInHandler = false;
thread_local int stepsToTheSignal = -1; // counted down at each call below; negative: none is due
pthread_t target;

// In the handler as far as it gets, which is to the end or to the mutex that the loop holds.
void waitUntilTheHelperSleepsInTheHandlerOrAfterIt()
{
    std::string state;
    while (!helperInHandler || state != "S") {
        std::ifstream("/proc/self/task/" + std::to_string(helperId) + "/stat").ignore(99, ')') >> state;
    }
}

void step()
{
    if (stepsToTheSignal-- == 0) {
        helperInHandler = false;
        pthread_kill(target, SIGINT);
        if (!pthread_equal(target, loopThread)) {
            waitUntilTheHelperSleepsInTheHandlerOrAfterIt();
        }
    }
}

}

// The calls of the loop's wait, each of which may be the one before which the only signal comes.
extern "C" {

int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept
{
    helperInHandler = helperInHandler || !pthread_equal(pthread_self(), loopThread);
    if (how == SIG_SETMASK) {
        step();
    }
    return REAL_CALL(pthread_sigmask)(how, set, old);
}

int sem_wait(sem_t* semaphore)
{
    step();
    return REAL_CALL(sem_wait)(semaphore);
}
}

// One signal and no second chance: with the mutex held (0), with it given up but both signals still blocked (1), and
// with nothing left to do but sleep (2); on the loop's own thread, and on another.
TEST(SingleSignal, EndsTheLoopWhereverItIsInItsWait)
{
    Application& app = Application::app();
    int argc = 0;
    char* argv[] = {nullptr};
    ASSERT_EQ(0, app.init(&argc, argv, nullptr));
    loopThread = pthread_self();
    std::thread helper([] {
        for (helperId = static_cast<pid_t>(syscall(SYS_gettid));;) {
            pause();
        }
    });
    while (helperId == 0) {
        std::this_thread::yield();
    }
    for (const pthread_t thread : {loopThread, helper.native_handle()}) {
        for (const int when : {0, 1, 2}) {
            target = thread;
            stepsToTheSignal = when;
            EXPECT_EQ(132, app.runEventLoop()) << when;
        }
    }
    helper.detach();
}
