// What does an option on the command line cost, against the number of words? Start-up is not in it.

#include "options.hpp"

#include "Check.hpp"

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <apr_general.h>
#include <apr_getopt.h>
#include <deque>

using brindle::Application;
using brindle::Option;

namespace {

void ours(benchmark::State& state)
{
    Line line(state);
    std::deque<Option> options;
    static std::vector<Option*> list; // which the application keeps
    list.clear();
    for (const Described& described : OPTIONS) {
        list.push_back(&options.emplace_back(described.name, described.letter, described.takesArgument, ""));
    }
    while (state.KeepRunning()) {
        int count = line.count();
        Application::app().init(&count, line.arguments.data(), &list); // again and again, as no program does
        measure(state, [] {
            while (Application::app().parseArg() == 0) {
            }
        });
    }
    check(Found{list[2]->isSet(), list[3]->isSet(), list[4]->argument(), list[5]->argument()}.right(), "brindle");
}

void bare(benchmark::State& state)
{
    Line line(state);
    std::vector<apr_getopt_option_t> table;
    for (const Described& described : OPTIONS) {
        table.push_back({described.name, described.letter, described.takesArgument ? 1 : 0, ""});
    }
    table.push_back({nullptr, 0, 0, nullptr});
    apr_initialize();
    Found found;
    while (state.KeepRunning()) {
        apr_pool_t* pool = nullptr;
        apr_pool_create(&pool, nullptr);
        apr_getopt_t* parser = nullptr;
        apr_getopt_init(&parser, pool, line.count(), line.arguments.data());
        measure(state, [&] {
            int code = 0;
            const char* argument = nullptr;
            while (apr_getopt_long(parser, table.data(), &code, &argument) == APR_SUCCESS) {
                found.verbose |= code == 'v';
                found.quiet |= code == 'q';
                if (argument != nullptr) {
                    (code == 'l' ? found.level : found.name) = argument;
                }
            }
        });
        apr_pool_destroy(pool);
    }
    check(found.right(), "floor");
}

BENCHMARK(ours)->Name("parse options/brindle")->Apply(lines);
BENCHMARK(bare)->Name("parse options/floor")->Apply(lines);

}

BENCHMARK_MAIN();
