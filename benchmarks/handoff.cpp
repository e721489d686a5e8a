// What does a wake-up through CondVar cost, beside one through pthread_cond_t? Read the two times of one run as a ratio.
//
// Two threads hand a turn to and fro. An iteration is one round trip: two signals, two wake-ups.

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <thread>

using brindle::threads::CondVar;
using brindle::threads::ScopedLock;

namespace {

class BrindleCondVar {
public:
    void wait(pthread_mutex_t* mutex) { condVar.wait(mutex); }
    void signal() { condVar.signal(); }

private:
    CondVar condVar;
};

class PosixCondVar {
public:
    PosixCondVar() { pthread_cond_init(&condition, nullptr); }
    PosixCondVar(const PosixCondVar&) = delete;
    PosixCondVar& operator=(const PosixCondVar&) = delete;
    ~PosixCondVar() { pthread_cond_destroy(&condition); }
    void wait(pthread_mutex_t* mutex) { pthread_cond_wait(&condition, mutex); }
    void signal() { pthread_cond_signal(&condition); }

private:
    pthread_cond_t condition;
};

enum class Turn { ours, theirs, over };

template <typename ConditionVariable>
class Table {
public:
    void hand(Turn next)
    {
        const ScopedLock lock(&mutex);
        turn = next;
        (next == Turn::ours ? oursCame : theirsCame).signal();
    }

    // The turn that came: the one waited for, or the end.
    Turn await(Turn awaited)
    {
        const ScopedLock lock(&mutex);
        while (turn != awaited && turn != Turn::over) {
            (awaited == Turn::ours ? oursCame : theirsCame).wait(&mutex);
        }
        return turn;
    }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    Turn turn = Turn::ours;
    ConditionVariable oursCame;
    ConditionVariable theirsCame;
};

template <typename ConditionVariable>
void roundTrip(benchmark::State& state)
{
    Table<ConditionVariable> table;
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

// The price of asking when nobody waits, which an exit request pays on every attempt that comes too early.
void signalNobody(benchmark::State& state)
{
    CondVar condVar;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(condVar.signal());
    }
}

BENCHMARK(roundTrip<BrindleCondVar>)->Name("round trip: CondVar")->UseRealTime();
BENCHMARK(roundTrip<PosixCondVar>)->Name("round trip: pthread_cond_t")->UseRealTime();
BENCHMARK(signalNobody)->Name("signal with nobody waiting");

}

BENCHMARK_MAIN();
