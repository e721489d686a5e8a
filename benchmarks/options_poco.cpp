#include "Check.hpp"
#include "options.hpp"

#include <Poco/Util/Option.h>
#include <Poco/Util/OptionProcessor.h>
#include <Poco/Util/OptionSet.h>

namespace {

void poco(benchmark::State& state)
{
    Line line(state);
    Poco::Util::OptionSet options;
    for (const Described& described : OPTIONS) {
        Poco::Util::Option option(described.name, std::string(1, described.letter));
        options.addOption(described.takesArgument ? option.repeatable(true).argument("value")
                                                  : option.repeatable(true));
    }
    Found found;
    while (state.KeepRunning()) {
        Poco::Util::OptionProcessor processor(options);
        processor.setUnixStyle(true);
        measure(state, [&] {
            std::string name, value;
            for (int word = 1; word < line.count(); ++word) {
                processor.process(line.arguments[static_cast<std::size_t>(word)], name, value);
                found.verbose |= name == "verbose";
                found.quiet |= name == "quiet";
                if (!value.empty()) {
                    (name == "level" ? found.level : found.name) = value;
                }
            }
        });
    }
    check(found.right(), "POCO");
}

BENCHMARK(poco)->Name("parse options/POCO")->Apply(lines);

}
