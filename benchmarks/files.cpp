// What does a configuration file cost to read, against its number of entries?
//
// Run one contender and size a process, as script/bench does: a program reads such a file once, into a heap that is still in order.

#include "files.hpp"

#include "Check.hpp"

#include <brindle/Configuration.hpp>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

std::string keyOf(long number)
{
    return "sensor." + std::to_string(number);
}

std::string valueOf(long number)
{
    return std::to_string(number * 7919 % 100'000);
}

namespace {

void write(int descriptor, const std::string& content)
{
    const auto length = static_cast<ssize_t>(content.size());
    check(ftruncate(descriptor, 0) == 0 && pwrite(descriptor, content.data(), content.size(), 0) == length, "the file");
}

void writeEntries(int descriptor, long size)
{
    std::vector<long> order(static_cast<std::size_t>(size));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::minstd_rand());
    std::string content = "[all]\n";
    for (const long number : order) {
        content += keyOf(number) + "=" + valueOf(number) + "\n";
    }
    write(descriptor, content);
}

// Each key is seven bytes longer than the one before, and has all but the last byte in common with those that are longer: what
// is hard to sort by a few bytes at a time.
void writeStairs(int descriptor, long size)
{
    std::string content = keyOf(7) + "=" + valueOf(7) + "\n";
    for (long number = 0; number < size; ++number) {
        content += std::string(7 * static_cast<std::size_t>(number), 'a') + "b=1\n";
    }
    write(descriptor, content);
}

// Has a process of its own write the file, so that the heap of this one does not know of it.
std::string fileBy(void (*writeTo)(int, long), long size)
{
    static const int descriptor = fileno(std::tmpfile());
    const pid_t writer = fork();
    if (writer == 0) {
        writeTo(descriptor, size);
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    check(waitpid(writer, &status, 0) == writer && status == 0, "the file");
    return "/proc/self/fd/" + std::to_string(descriptor);
}

}

std::string fileOf(const benchmark::State& state)
{
    return fileBy(writeEntries, state.range(0));
}

void reportPeak(benchmark::State& state)
{
    std::ifstream status("/proc/self/status");
    for (std::string field; status >> field;) {
        if (field == "VmHWM:") {
            double kilobytes = 0;
            status >> kilobytes;
            state.counters["peak"] = 1024 * kilobytes;
        }
    }
}

namespace {

void readWithOurs(benchmark::State& state, const std::string& path)
{
    std::string value;
    while (state.KeepRunning()) {
        brindle::Configuration configuration;
        configuration.readCfgFile(path);
        configuration.getOption(keyOf(7), value);
    }
    reportPeak(state);
    check(value == valueOf(7), "brindle");
}

void ours(benchmark::State& state)
{
    readWithOurs(state, fileOf(state));
}

void oursStairs(benchmark::State& state)
{
    readWithOurs(state, fileBy(writeStairs, state.range(0)));
}

void readPlainly(benchmark::State& state, const std::string& path)
{
    std::string value;
    while (state.KeepRunning()) {
        std::map<std::string, std::string> entries;
        std::ifstream file(path);
        for (std::string word; file >> word;) {
            const std::size_t equals = word.find('=');
            if (equals != std::string::npos) {
                entries[word.substr(0, equals)] = word.substr(equals + 1);
            }
        }
        value = entries[keyOf(7)];
    }
    reportPeak(state);
    check(value == valueOf(7), "ifstream");
}

void ifstream(benchmark::State& state)
{
    readPlainly(state, fileOf(state));
}

void ifstreamStairs(benchmark::State& state)
{
    readPlainly(state, fileBy(writeStairs, state.range(0)));
}

void readAlone(benchmark::State& state)
{
    const std::string path = fileOf(state);
    while (state.KeepRunning()) {
        const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        char piece[16'384];
        while (read(descriptor, piece, sizeof piece) > 0) {
        }
        close(descriptor);
    }
}

// In an order without a pattern that the processor could learn.
template <typename LookUp>
void lookUpKeys(benchmark::State& state, const LookUp& lookUp)
{
    std::vector<std::string> keys;
    for (long number = 0; number < state.range(0); ++number) {
        keys.push_back(keyOf(number));
    }
    std::minstd_rand random;
    std::string value;
    while (state.KeepRunning()) {
        check(lookUp(keys[random() % keys.size()], value), "look-up");
    }
}

void lookUpOurs(benchmark::State& state)
{
    brindle::Configuration configuration;
    configuration.readCfgFile(fileOf(state));
    lookUpKeys(state, [&](const std::string& key, std::string& value) { return configuration.getOption(key, value); });
}

void lookUpInMap(benchmark::State& state)
{
    std::map<std::string, std::string> entries;
    for (long number = 0; number < state.range(0); ++number) {
        entries[keyOf(number)] = valueOf(number);
    }
    lookUpKeys(state, [&](const std::string& key, std::string& value) {
        const auto entry = entries.find(key);
        if (entry == entries.end()) {
            return false;
        }
        value = entry->second;
        return true;
    });
}

BENCHMARK(oursStairs)->Name("read keys like stairs/brindle")->Arg(4000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(ifstreamStairs)
    ->Name("read keys like stairs/ifstream")
    ->Arg(4000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(lookUpOurs)->Name("look up a key/brindle")->Arg(1000);
BENCHMARK(lookUpInMap)->Name("look up a key/std::map")->Arg(1000);
BENCHMARK(ours)->Name("read a file/brindle")->Apply(sizes);
BENCHMARK(ifstream)->Name("read a file/ifstream")->Apply(sizes);
BENCHMARK(readAlone)->Name("read a file/floor")->Apply(sizes);

}

BENCHMARK_MAIN();
