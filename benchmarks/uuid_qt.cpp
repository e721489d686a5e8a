#include "Check.hpp"

#include <QUuid>
#include <benchmark/benchmark.h>

namespace {

void qt(benchmark::State& state)
{
    QString text;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text = QUuid::createUuid().toString(QUuid::WithoutBraces));
    }
    check(text.size() == 36, "Qt");
}

BENCHMARK(qt)->Name("make a UUID/Qt");

}
