#include "Check.hpp"

#include <Poco/UUIDGenerator.h>
#include <benchmark/benchmark.h>

namespace {

void poco(benchmark::State& state)
{
    std::string text;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text = Poco::UUIDGenerator::defaultGenerator().createRandom().toString());
    }
    check(text.size() == 36, "POCO");
}

BENCHMARK(poco)->Name("make a UUID/POCO");

}
