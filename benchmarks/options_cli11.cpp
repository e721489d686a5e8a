#include "Check.hpp"
#include "options.hpp"

#include <CLI/CLI.hpp>

namespace {

void cli11(benchmark::State& state)
{
    Line line(state);
    Found found;
    std::string other;
    CLI::App app;
    app.set_help_flag();
    for (const Described& described : OPTIONS) {
        const std::string names = std::string("-") + described.letter + ",--" + described.name;
        if (described.takesArgument) {
            std::string& value = described.letter == 'l' ? found.level : described.letter == 'n' ? found.name : other;
            app.add_option(names, value)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
        } else {
            app.add_flag(names);
        }
    }
    while (state.KeepRunning()) {
        measure(state, [&] { app.parse(line.count(), line.arguments.data()); });
    }
    found.verbose = app.count("-v") > 0;
    found.quiet = app.count("-q") > 0;
    check(found.right(), "CLI11");
}

BENCHMARK(cli11)->Name("parse options/CLI11")->Apply(lines);

}
