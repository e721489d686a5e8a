// What does a UUID cost? Most of it is the system's, whose random bytes it takes.

#include "Check.hpp"

#include <brindle/utility/Uuid.hpp>

#include <benchmark/benchmark.h>
#include <string>
#include <uuid.h>

namespace {

void ours(benchmark::State& state)
{
    std::string text;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text = brindle::utility::generateUuid());
    }
    check(text.size() == 36, "brindle");
}

void libuuid(benchmark::State& state)
{
    char text[UUID_STR_LEN] = "";
    while (state.KeepRunning()) {
        uuid_t uuid;
        uuid_generate(uuid);
        uuid_unparse(uuid, text);
        benchmark::DoNotOptimize(text);
    }
    check(text[35] != '\0' && text[36] == '\0', "floor");
}

BENCHMARK(ours)->Name("make a UUID/brindle");
BENCHMARK(libuuid)->Name("make a UUID/floor");

}

BENCHMARK_MAIN();
