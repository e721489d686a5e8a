#include "Check.hpp"
#include "options.hpp"

#include <glib.h>

namespace {

void glib(benchmark::State& state)
{
    Line line(state);
    gboolean flags[256] = {};
    gchar* values[256] = {};
    std::vector<GOptionEntry> entries;
    for (const Described& described : OPTIONS) {
        const auto letter = static_cast<unsigned char>(described.letter);
        gpointer const target = described.takesArgument ? static_cast<gpointer>(&values[letter]) : &flags[letter];
        entries.push_back({described.name, described.letter, 0,
                           described.takesArgument ? G_OPTION_ARG_STRING : G_OPTION_ARG_NONE, target, nullptr,
                           nullptr});
    }
    entries.push_back({});
    while (state.KeepRunning()) {
        GOptionContext* const context = g_option_context_new(nullptr);
        g_option_context_set_help_enabled(context, FALSE);
        g_option_context_add_main_entries(context, entries.data(), nullptr);
        std::vector<char*> arguments = line.arguments; // which parsing changes
        char** words = arguments.data();
        int count = line.count();
        measure(state, [&] { g_option_context_parse(context, &count, &words, nullptr); });
        g_option_context_free(context);
    }
    check(Found{flags['v'] != FALSE, flags['q'] != FALSE, values['l'], values['n']}.right(), "GLib");
}

BENCHMARK(glib)->Name("parse options/GLib")->Apply(lines);

}
