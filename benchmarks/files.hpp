#pragma once

#include <benchmark/benchmark.h>
#include <string>

// The path of a configuration file with so many entries, shuffled: sensor.4711=37229 is one. The first line holds
// "[all]", which GKeyFile and QSettings need and the others skip.
std::string fileOf(const benchmark::State& state);

// Reports the most memory that this process has held until now.
void reportPeak(benchmark::State& state);

// Entry number `number`.
std::string keyOf(long number);
std::string valueOf(long number);

// From 10 entries to a million.
inline void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(10)->Range(10, 1'000'000)->Unit(benchmark::kMicrosecond);
}
