#include "Check.hpp"

#include <benchmark/benchmark.h>
#include <glib.h>

namespace {

void glib(benchmark::State& state)
{
    while (state.KeepRunning()) {
        gchar* const text = g_uuid_string_random();
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
    check(g_uuid_string_is_valid("00000000-0000-4000-8000-000000000000") != FALSE, "GLib");
}

BENCHMARK(glib)->Name("make a UUID/GLib");

}
