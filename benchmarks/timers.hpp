#pragma once

#include <atomic>
#include <benchmark/benchmark.h>
#include <semaphore.h>
#include <sys/resource.h>

// Counts expiries, and measures what processor time the whole process takes for one.
class Expiries {
public:
    Expiries() { sem_init(&enough, 0, 0); }
    Expiries(const Expiries&) = delete;
    Expiries& operator=(const Expiries&) = delete;
    ~Expiries() { sem_destroy(&enough); }

    void count()
    {
        if (++counted == BATCH) {
            sem_post(&enough);
        }
    }

    template <typename Start, typename Stop>
    double measure(Start start, Stop stop)
    {
        counted = 0;
        const double before = processorTime();
        start();
        while (sem_wait(&enough) != 0) {
        }
        const double spent = processorTime() - before;
        stop();
        return spent / BATCH;
    }

private:
    static constexpr int BATCH = 200;

    static double processorTime()
    {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](const timeval& t) {
            return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }

    std::atomic<int> counted = 0;
    sem_t enough = {};
};

inline void processorTime(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Iterations(3)->Unit(benchmark::kMicrosecond);
}
