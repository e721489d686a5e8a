#include "Check.hpp"
#include "files.hpp"

#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>

namespace {

void poco(benchmark::State& state)
{
    const std::string path = fileOf(state);
    std::string value;
    while (state.KeepRunning()) {
        const Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> file(
            new Poco::Util::PropertyFileConfiguration(path));
        value = file->getString(keyOf(7));
    }
    reportPeak(state);
    check(value == valueOf(7), "POCO");
}

BENCHMARK(poco)->Name("read a file/POCO")->Apply(sizes);

}
