// What does a version cost to read, and to compare with one that differs in the last level?

#include "versions.hpp"
#include "Check.hpp"

#include <brindle/utility/Version.hpp>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

using brindle::utility::Version;
using Levels = std::vector<int>;

namespace {

void read(benchmark::State& state)
{
    std::string text = VERSION;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(Version(text));
    }
    check(Version(text).getVersionLevels() == Levels{1, 10, 2, 20261123}, "brindle");
}

Levels levelsOf(const char* text)
{
    Levels levels;
    levels.reserve(4);
    for (char* end = nullptr;; text = end + 1) {
        levels.push_back(static_cast<int>(std::strtol(text, &end, 10)));
        if (*end == '\0') {
            return levels;
        }
    }
}

void readByStrtol(benchmark::State& state)
{
    std::string text = VERSION;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(levelsOf(text.c_str()));
    }
    check(levelsOf(text.c_str()) == Levels{1, 10, 2, 20261123}, "floor");
}

template <typename T>
void compare(benchmark::State& state, T earlier, T later)
{
    bool less = false;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(earlier);
        benchmark::DoNotOptimize(later);
        benchmark::DoNotOptimize(less = earlier < later);
    }
    check(less, "a comparison");
}

BENCHMARK(read)->Name("version from text/brindle");
BENCHMARK(readByStrtol)->Name("version from text/floor");
BENCHMARK_CAPTURE(compare, ours, Version(VERSION), Version(LATER_VERSION))->Name("compare versions/brindle");
BENCHMARK_CAPTURE(compare, bare, levelsOf(VERSION), levelsOf(LATER_VERSION))->Name("compare versions/floor");

}

BENCHMARK_MAIN();
