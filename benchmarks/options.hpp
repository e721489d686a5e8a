#pragma once

#include <benchmark/benchmark.h>
#include <chrono>
#include <string>
#include <vector>

// The command line of a program with eight options, of which two have values, and what every contender reads from it.
struct Line {
    explicit Line(const benchmark::State& state)
    {
        static const char* const WORDS[] = {"--level=3", "-v", "--name=pump", "-q"};
        for (long number = 0; number < state.range(0); ++number) {
            words.emplace_back(WORDS[number % 4]);
        }
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
    }

    int count() const { return static_cast<int>(words.size()); }

    std::vector<std::string> words = {"program"};
    std::vector<char*> arguments;
};

struct Found {
    bool verbose = false, quiet = false;
    std::string level, name;
    bool right() const { return verbose && quiet && level == "3" && name == "pump"; }
};

struct Described {
    const char* name;
    char letter;
    bool takesArgument;
};
constexpr Described OPTIONS[] = {{"help", 'h', false},  {"version", 'V', false}, {"verbose", 'v', false},
                                 {"quiet", 'q', false}, {"level", 'l', true},    {"name", 'n', true},
                                 {"config", 'c', true}, {"port", 'p', true}};

// What `parse` takes, for one option of the line.
template <typename Parse>
void measure(benchmark::State& state, Parse parse)
{
    const auto start = std::chrono::steady_clock::now();
    parse();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(spent.count() / static_cast<double>(state.range(0)));
}

inline void lines(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(4)->Range(4, 1024)->UseManualTime()->Iterations(200);
}
