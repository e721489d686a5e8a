#include "Check.hpp"
#include "versions.hpp"

#include <QVersionNumber>
#include <benchmark/benchmark.h>
#include <string>

namespace {

void read(benchmark::State& state)
{
    std::string text = VERSION;
    const auto bytes = [&text] { return QLatin1String(text.data(), static_cast<int>(text.size())); };
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(QVersionNumber::fromString(bytes()));
    }
    check(QVersionNumber::fromString(bytes()).toString() == VERSION, "Qt");
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
