// What does a wake-up through CondVar cost, and asking when nobody waits?
//
// Two threads on one processor hand a turn to and fro. An iteration is one round trip: two signals, two wake-ups.

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <thread>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;

namespace {

enum class Turn { ours, theirs, over };

class Brindle {
public:
    using Lock = ScopedLock;
    pthread_mutex_t* mutex() { return &guard; }
    void wait(ScopedLock&) { condVar.wait(&guard); }
    void signal() { condVar.signal(); }

private:
    pthread_mutex_t& guard = sharedMutex();
    CondVar condVar;

    static pthread_mutex_t& sharedMutex()
    {
        static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
        return mutex;
    }
};

class Standard {
public:
    using Lock = std::unique_lock<std::mutex>;
    std::mutex& mutex() { return guard; }
    void wait(Lock& lock) { condition.wait(lock); }
    void signal() { condition.notify_one(); }

private:
    std::mutex& guard = sharedMutex();
    std::condition_variable condition;

    static std::mutex& sharedMutex()
    {
        static std::mutex mutex;
        return mutex;
    }
};

// A semaphore of the waiter's own and the mutex: the calls that CondVar makes, without it. One waits at most.
class Semaphore {
public:
    using Lock = std::unique_lock<std::mutex>;
    Semaphore() { sem_init(&semaphore, 0, 0); }
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;
    ~Semaphore() { sem_destroy(&semaphore); }
    std::mutex& mutex() { return guard; }
    void wait(Lock& lock)
    {
        waits = true;
        lock.unlock();
        sem_wait(&semaphore);
        lock.lock();
    }
    void signal()
    {
        if (waits) {
            sem_post(&semaphore);
        }
        waits = false;
    }

private:
    std::mutex& guard = sharedMutex();
    sem_t semaphore = {};
    bool waits = false;

    static std::mutex& sharedMutex()
    {
        static std::mutex mutex;
        return mutex;
    }
};

template <typename Condition>
class Table {
public:
    void hand(Turn next)
    {
        typename Condition::Lock lock(oursCame.mutex());
        turn = next;
        (next == Turn::ours ? oursCame : theirsCame).signal();
    }

    // The turn that came: the one waited for, or the end.
    Turn await(Turn awaited)
    {
        typename Condition::Lock lock(oursCame.mutex());
        while (turn != awaited && turn != Turn::over) {
            (awaited == Turn::ours ? oursCame : theirsCame).wait(lock);
        }
        return turn;
    }

private:
    Turn turn = Turn::ours;
    Condition oursCame;
    Condition theirsCame;
};

template <typename Condition>
void roundTrip(benchmark::State& state)
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    pthread_setaffinity_np(pthread_self(), sizeof one, &one); // which the partner inherits

    Table<Condition> table;
    std::thread partner([&table] {
        while (table.await(Turn::theirs) == Turn::theirs) {
            table.hand(Turn::ours);
        }
    });
    while (state.KeepRunning()) {
        table.hand(Turn::theirs);
        table.await(Turn::ours);
    }
    table.hand(Turn::over);
    partner.join();
}

void signalNobody(benchmark::State& state)
{
    CondVar condVar;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(condVar.signal());
    }
}

void signalNobodyBare(benchmark::State& state)
{
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(pthread_cond_signal(&condition));
    }
}

BENCHMARK(roundTrip<Brindle>)->Name("hand-off/brindle")->UseRealTime();
BENCHMARK(roundTrip<Standard>)->Name("hand-off/std::condition_variable")->UseRealTime();
BENCHMARK(roundTrip<Semaphore>)->Name("hand-off/floor")->UseRealTime();
BENCHMARK(signalNobody)->Name("signal, nobody waits/brindle");
BENCHMARK(signalNobodyBare)->Name("signal, nobody waits/floor");

}

BENCHMARK_MAIN();
