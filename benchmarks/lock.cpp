// What does a guard cost that nobody contends with?

#include <brindle/threads/ScopedLock.hpp>

#include <benchmark/benchmark.h>
#include <mutex>
#include <pthread.h>

namespace {

void ours(benchmark::State& state)
{
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    while (state.KeepRunning()) {
        const brindle::threads::ScopedLock lock(&mutex);
        benchmark::ClobberMemory();
    }
}

void standard(benchmark::State& state)
{
    std::mutex mutex;
    while (state.KeepRunning()) {
        const std::lock_guard<std::mutex> lock(mutex);
        benchmark::ClobberMemory();
    }
}

void bare(benchmark::State& state)
{
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    while (state.KeepRunning()) {
        pthread_mutex_lock(&mutex);
        benchmark::ClobberMemory();
        pthread_mutex_unlock(&mutex);
    }
}

BENCHMARK(ours)->Name("lock and unlock/brindle");
BENCHMARK(standard)->Name("lock and unlock/std::lock_guard");
BENCHMARK(bare)->Name("lock and unlock/floor");

}

BENCHMARK_MAIN();
