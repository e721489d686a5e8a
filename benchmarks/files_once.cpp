// files_once CONTENDER PATH: reads a file as a program does that has just been started, and prints the seconds that it took.
// At ten entries most of that is page faults and code that no cache holds yet, so to read once more would measure something else.

#include "Check.hpp"

#include <brindle/Configuration.hpp>

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>

namespace {

class Ours : public brindle::Configuration {
public:
    explicit Ours(const char* path) { readCfgFile(path); }
    using brindle::Configuration::entries;
};

struct PlainLoop {
    explicit PlainLoop(const char* path)
    {
        std::ifstream file(path);
        for (std::string word; file >> word;) {
            const std::size_t equals = word.find('=');
            if (equals != std::string::npos) {
                entries[word.substr(0, equals)] = word.substr(equals + 1);
            }
        }
    }
    std::map<std::string, std::string> entries;
};

struct ReadAlone {
    explicit ReadAlone(const char* path)
    {
        const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
        char piece[4096];
        while (read(descriptor, piece, sizeof piece) > 0) {
        }
        close(descriptor);
    }
    std::map<std::string, std::string> entries = {{"sensor.1", ""}};
};

template <typename Contender>
void measure(const char* path)
{
    using Clock = std::chrono::steady_clock;
    Clock::now(); // the first call takes longer
    const Clock::time_point begin = Clock::now();
    const Contender contender(path);
    const std::chrono::duration<double> taken = Clock::now() - begin;
    check(contender.entries.count("sensor.1") == 1, "files_once");
    std::printf("%.9f\n", taken.count());
}

}

int main(int, char** argv)
{
    const std::string contender = argv[1];
    const auto how = contender == "brindle"    ? measure<Ours>
                     : contender == "ifstream" ? measure<PlainLoop>
                                               : measure<ReadAlone>;
    how(argv[2]);
}
