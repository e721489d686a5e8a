// What does a whole small daemon take from its start to its end, and what memory while it waits?
//
// Each daemon_WHO beside this program reads an option, a configuration file of two entries, starts a timer of one second
// and a worker that asks for the end at once, and waits. With --wait nobody asks, until a signal does.

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
    std::string program = HERE / ("daemon_" + who), option = "--config=" + removal.path, wanted = wait;
    char* const arguments[] = {program.data(), option.data(), wanted.empty() ? nullptr : wanted.data(), nullptr};
    pid_t pid = 0;
    check(posix_spawn(&pid, program.c_str(), nullptr, nullptr, arguments, environ) == 0, program.c_str());
    return pid;
}

void startToExit(benchmark::State& state, const char* who)
{
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
    while (state.KeepRunning()) {
        const pid_t pid = start(who, "--wait");
        usleep(300'000);
        state.counters["bytes"] = 1024 * std::stod(fieldOf(pid, "VmRSS:"));
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
    }
}

}

int main(int argc, char** argv)
{
    for (const char* who : {"brindle", "floor", "asio", "poco"}) {
        if (!exists(HERE / (std::string("daemon_") + who))) {
            continue;
        }
        const std::string name = who == std::string("poco") ? "POCO" : who;
        benchmark::RegisterBenchmark(("daemon, start to exit/" + name).c_str(), startToExit, who)
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("memory of the daemon/" + name).c_str(), memory, who)->Iterations(1);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
