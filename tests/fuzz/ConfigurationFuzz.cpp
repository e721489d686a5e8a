// Any bytes as a configuration file give the entries that the naive twin finds.

#include "support/NaiveTwins.hpp"

#include <brindle/Configuration.hpp>

#include <cstdint>
#include <fstream>
#include <sys/mman.h>

struct Reader : brindle::Configuration {
    using Configuration::entries;
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string path = "/proc/self/fd/" + std::to_string(memfd_create("input", 0));
    const std::string content(data, data + size);
    std::ofstream(path) << content;
    Reader reader;
    if (!reader.readCfgFile(path) || reader.entries != naive::entriesOf(content)) {
        std::abort();
    }
    return 0;
}
