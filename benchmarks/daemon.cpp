// What does a whole small daemon take from its start to its end, and what memory while it waits?
//
// Each daemon_WHO beside this program reads an option, a configuration file of two entries, starts a timer of one second
// and a worker that asks for the end after a millisecond, and waits. With --wait nobody asks, until a signal does.

#include "Check.hpp"

#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::filesystem::path HERE = std::filesystem::read_symlink("/proc/self/exe").parent_path();

std::string programOf(const std::string& who)
{
    return HERE / ("daemon_" + who);
}

pid_t start(const std::string& who, const char* wait)
{
    static const std::string configuration = [] {
        const std::string path = (std::filesystem::temp_directory_path() / "brindle-benchmark.XXXXXX").string();
        std::string made = path;
        check(mkstemp(made.data()) >= 0, "mkstemp");
        std::ofstream(made) << "interval=5\nbeats=3\n";
        return made;
    }();
    static const struct Removal {
        ~Removal() { unlink(path.c_str()); }
        std::string path;
    } removal = {configuration};
    std::string program = programOf(who), option = "--config=" + removal.path, wanted = wait;
    char* const arguments[] = {program.data(), option.data(), wanted.empty() ? nullptr : wanted.data(), nullptr};
    pid_t pid = 0;
    check(posix_spawn(&pid, program.c_str(), nullptr, nullptr, arguments, environ) == 0, program.c_str());
    return pid;
}

void startToExit(benchmark::State& state, const char* who)
{
    if (!std::filesystem::exists(programOf(who))) {
        state.SkipWithError("not built");
    }
    while (state.KeepRunning()) {
        const auto begin = std::chrono::steady_clock::now();
        int status = 0;
        waitpid(start(who, ""), &status, 0);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        check(WIFEXITED(status) && WEXITSTATUS(status) == 0, who);
    }
}

std::string fieldOf(pid_t pid, const std::string& name)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line) && line.compare(0, name.size(), name) != 0) {
    }
    return line.substr(std::min(line.size(), name.size()));
}

// What it holds once it has its threads and has slept for a while.
void memory(benchmark::State& state, const char* who)
{
    if (!std::filesystem::exists(programOf(who))) {
        state.SkipWithError("not built");
    }
    while (state.KeepRunning()) {
        const pid_t pid = start(who, "--wait");
        usleep(300'000);
        state.counters["bytes"] = 1024 * std::stod(fieldOf(pid, "VmRSS:"));
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
    }
}

// Each start is a figure of its own: they make a distribution.
void oneStart(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Iterations(1)->Repetitions(200)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(startToExit, brindle, "brindle")->Name("daemon, start to exit/brindle")->Apply(oneStart);
BENCHMARK_CAPTURE(startToExit, floor, "floor")->Name("daemon, start to exit/floor")->Apply(oneStart);
BENCHMARK_CAPTURE(startToExit, asio, "asio")->Name("daemon, start to exit/asio")->Apply(oneStart);
BENCHMARK_CAPTURE(startToExit, poco, "poco")->Name("daemon, start to exit/POCO")->Apply(oneStart);
BENCHMARK_CAPTURE(memory, brindle, "brindle")->Name("memory of the daemon/brindle")->Iterations(1);
BENCHMARK_CAPTURE(memory, floor, "floor")->Name("memory of the daemon/floor")->Iterations(1);
BENCHMARK_CAPTURE(memory, asio, "asio")->Name("memory of the daemon/asio")->Iterations(1);
BENCHMARK_CAPTURE(memory, poco, "poco")->Name("memory of the daemon/POCO")->Iterations(1);

}

BENCHMARK_MAIN();
