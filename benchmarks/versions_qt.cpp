#include "Check.hpp"
#include "versions.hpp"

#include <QVersionNumber>
#include <benchmark/benchmark.h>

namespace {

void read(benchmark::State& state)
{
    QString text = VERSION;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(QVersionNumber::fromString(text));
    }
    check(QVersionNumber::fromString(text).toString() == VERSION, "Qt");
}

void compare(benchmark::State& state)
{
    auto earlier = QVersionNumber::fromString(QString(VERSION));
    auto later = QVersionNumber::fromString(QString(LATER_VERSION));
    bool less = false;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(earlier);
        benchmark::DoNotOptimize(later);
        benchmark::DoNotOptimize(less = QVersionNumber::compare(earlier, later) < 0);
    }
    check(less, "Qt");
}

BENCHMARK(read)->Name("version from text/Qt");
BENCHMARK(compare)->Name("compare versions/Qt");

}
