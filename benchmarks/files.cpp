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

void writeEntries(int descriptor, long size)
{
    std::vector<long> order(static_cast<std::size_t>(size));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::minstd_rand());
    std::string content = "[all]\n";
    for (const long number : order) {
        content += keyOf(number) + "=" + valueOf(number) + "\n";
    }
    const auto length = static_cast<ssize_t>(content.size());
    check(ftruncate(descriptor, 0) == 0 && pwrite(descriptor, content.data(), content.size(), 0) == length, "the file");
}

}

std::string fileOf(const benchmark::State& state)
{
    static const int descriptor = fileno(std::tmpfile());
    const pid_t writer = fork(); // so that the heap of this process does not know of it
    if (writer == 0) {
        writeEntries(descriptor, state.range(0));
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    check(waitpid(writer, &status, 0) == writer && status == 0, "the file");
    return "/proc/self/fd/" + std::to_string(descriptor);
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

void ours(benchmark::State& state)
{
    const std::string path = fileOf(state);
    std::string value;
    while (state.KeepRunning()) {
        brindle::Configuration configuration;
        configuration.readCfgFile(path);
        configuration.getOption(keyOf(7), value);
    }
    reportPeak(state);
    check(value == valueOf(7), "brindle");
}

void ifstream(benchmark::State& state)
{
    const std::string path = fileOf(state);
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

BENCHMARK(ours)->Name("read a file/brindle")->Apply(sizes);
BENCHMARK(ifstream)->Name("read a file/ifstream")->Apply(sizes);
BENCHMARK(readAlone)->Name("read a file/floor")->Apply(sizes);

}

BENCHMARK_MAIN();
