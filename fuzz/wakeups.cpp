// Does every release of a waiter end exactly one wait, under a rain of interruptions?
//
//   wakeups [SEED]
//
// Four threads wait again and again while their waits are interrupted by signals and fail for no reason, and are
// released by signal() and broadcast() at random. How many rounds: 200 times BRINDLE_STRESS_CHILDREN, by default
// 20,000. Status 0: the releases and the returns match.

#include "RealCall.hpp"
#include "StressChildren.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;

// Called by the library in place of the system's. Some libcs report an interruption with a wrong errno.
extern "C" int sem_wait(sem_t* semaphore)
{
    static auto* const real = REAL_CALL(sem_wait);
    thread_local std::minstd_rand random;
    if (random() % 4 == 0) {
        errno = EAGAIN;
        return -1;
    }
    return real(semaphore);
}

namespace {

constexpr std::size_t WAITERS = 4;

pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // guards what follows
CondVar condVar;
std::size_t releases = 0; // not yet answered by a return
std::size_t strayReturns = 0;
std::size_t running = WAITERS;
bool over = false;

void waitAgainAndAgain()
{
    const ScopedLock lock(&mutex);
    while (!over) {
        condVar.wait(&mutex);
        strayReturns += releases == 0 ? 1 : 0;
        releases -= releases == 0 ? 0 : 1;
    }
    --running;
}

// False once no waiter is left.
bool release(bool all)
{
    const ScopedLock lock(&mutex);
    const std::size_t waiting = condVar.waiting();
    const bool released = all ? condVar.broadcast() : condVar.signal();
    releases += all ? waiting : waiting > 0;
    strayReturns += released == (waiting > 0) ? 0 : 1;
    return running > 0;
}

}

int main(int argc, char** argv)
{
    struct sigaction interruption = {}; // without SA_RESTART: the semaphore wait that it meets fails
    interruption.sa_handler = [](int) {};
    sigaction(SIGUSR1, &interruption, nullptr);

    std::minstd_rand random(argc > 1 ? static_cast<unsigned>(std::stoul(argv[1])) : 1);
    const unsigned long rounds = 200UL * stressChildren();
    std::vector<std::thread> waiters(WAITERS);
    for (std::thread& waiter : waiters) {
        waiter = std::thread(waitAgainAndAgain);
    }
    for (unsigned long round = 0; round < rounds; ++round) {
        pthread_kill(waiters[random() % WAITERS].native_handle(), SIGUSR1);
        release(random() % 8 == 0);
    }
    {
        const ScopedLock lock(&mutex);
        over = true;
    }
    while (release(true)) {
        std::this_thread::yield();
    }
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    std::cout << rounds << " rounds: " << strayReturns << " stray returns, " << releases << " releases without a return"
              << std::endl;
    return strayReturns == 0 && releases == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
