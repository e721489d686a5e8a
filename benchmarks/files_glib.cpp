#include "Check.hpp"
#include "files.hpp"

#include <glib.h>

namespace {

void glib(benchmark::State& state)
{
    const std::string path = fileOf(state);
    std::string value;
    while (state.KeepRunning()) {
        GKeyFile* const file = g_key_file_new();
        g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
        gchar* const found = g_key_file_get_value(file, "all", keyOf(7).c_str(), nullptr);
        value = found;
        g_free(found);
        g_key_file_free(file);
    }
    reportPeak(state);
    check(value == valueOf(7), "GLib");
}

BENCHMARK(glib)->Name("read a file/GLib")->Apply(sizes);

}
