#include "Check.hpp"
#include "options.hpp"

#include <QCommandLineParser>

namespace {

void qt(benchmark::State& state)
{
    const Line line(state);
    QStringList words;
    for (const std::string& word : line.words) {
        words << QString::fromStdString(word);
    }
    Found found;
    while (state.KeepRunning()) {
        QCommandLineParser parser;
        for (const Described& described : OPTIONS) {
            parser.addOption({{QString(QChar(described.letter)), QString(described.name)},
                              "",
                              described.takesArgument ? "value" : ""});
        }
        measure(state, [&] { parser.parse(words); });
        found = {parser.isSet("v"), parser.isSet("q"), parser.value("l").toStdString(),
                 parser.value("n").toStdString()};
    }
    check(found.right(), "Qt");
}

BENCHMARK(qt)->Name("parse options/Qt")->Apply(lines);

}
