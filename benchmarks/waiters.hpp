#pragma once

#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <thread>
#include <vector>

// Measures rounds of a crowd: so many threads wait, all are released, and the round ends when the last has returned. A
// Crowd has wait(number), for each of its threads; release(), once all wait; and waiting(), how many do.
template <typename Crowd>
void release(benchmark::State& state)
{
    const auto size = static_cast<int>(state.range(0));
    Crowd crowd(size);
    std::atomic<int> returned = 0;
    std::atomic<bool> over = false;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(size));
    for (int number = 0; number < size; ++number) {
        threads.emplace_back([&crowd, &returned, &over, number] {
            while (!over) {
                crowd.wait(number);
                ++returned;
            }
        });
    }
    const auto awaitAll = [&] {
        while (crowd.waiting() != size) {
            std::this_thread::yield();
        }
    };
    const auto oneRound = [&] {
        awaitAll();
        returned = 0;
        const auto start = std::chrono::steady_clock::now();
        crowd.release();
        while (returned != size) {
            std::this_thread::yield();
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    while (state.KeepRunning()) {
        state.SetIterationTime(oneRound());
    }
    awaitAll(); // or one that has just returned would not come again
    over = true;
    oneRound();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// The threads wait again as soon as they have returned, so a count of waiting threads ends with the round.
template <typename Mutex, typename Condition>
class ConditionCrowd {
public:
    explicit ConditionCrowd(int) {}
    void wait(int)
    {
        mutex.lock();
        const long mine = round;
        ++queued;
        while (round == mine) {
            condition.wait(mutex);
        }
        mutex.unlock();
    }
    int waiting()
    {
        mutex.lock();
        const int result = queued;
        mutex.unlock();
        return result;
    }
    void release()
    {
        mutex.lock();
        ++round;
        queued = 0;
        condition.broadcast();
        mutex.unlock();
    }

private:
    Mutex mutex;
    Condition condition;
    int queued = 0;
    long round = 0;
};

inline void crowds(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(4)->Range(1, 1024)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
