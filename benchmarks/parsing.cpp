// What do versions and configuration files cost to read, beside the plain way? Read the two times of a pair in one run
// as a ratio.

#include <brindle/Configuration.hpp>
#include <brindle/utility/Version.hpp>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using brindle::Configuration;
using brindle::utility::Version;

namespace {

const std::string VERSION = "1.10.2.20261123";

void version(benchmark::State& state)
{
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Version(VERSION));
    }
}

void versionThroughAStream(benchmark::State& state)
{
    while (state.KeepRunning()) {
        std::vector<int> levels;
        std::stringstream stream(VERSION);
        for (std::string level; std::getline(stream, level, '.');) {
            levels.push_back(std::stoi(level));
        }
        benchmark::DoNotOptimize(levels.data());
    }
}

// A thousand entries, whose keys and values are too long to be kept inside a string.
std::string configurationFile()
{
    static const int descriptor = fileno(std::tmpfile());
    std::string content;
    for (int number = 0; number < 1000; ++number) {
        content += "the-key-of-entry-number-" + std::to_string(number) + "=" + std::string(40, 'v') + "\n";
    }
    return pwrite(descriptor, content.data(), content.size(), 0) < 0 ? ""
                                                                     : "/proc/self/fd/" + std::to_string(descriptor);
}

void configuration(benchmark::State& state)
{
    const std::string path = configurationFile();
    Configuration read;
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(read.readCfgFile(path));
    }
}

void configurationCopiedTwice(benchmark::State& state)
{
    const std::string path = configurationFile();
    std::map<std::string, std::string> entries;
    while (state.KeepRunning()) {
        std::map<std::string, std::string> found;
        std::ifstream file(path);
        for (std::string word; file >> word;) {
            const std::string key = word.substr(0, word.find('='));
            const std::string value = word.substr(word.find('=') + 1);
            found[key] = value;
        }
        entries = found;
    }
}

BENCHMARK(version)->Name("version: Version");
BENCHMARK(versionThroughAStream)->Name("version: a stream, and a text per level");
BENCHMARK(configuration)->Name("thousand entries: Configuration");
BENCHMARK(configurationCopiedTwice)->Name("thousand entries: copied twice");

}

BENCHMARK_MAIN();
