// Any text gives the levels that the naive twin finds, or an exception where the twin finds a wrong level.

#include "support/NaiveTwins.hpp"

#include <brindle/utility/Version.hpp>

#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    std::optional<std::vector<int>> levels;
    try {
        levels = brindle::utility::Version(text).getVersionLevels();
    } catch (const std::runtime_error&) {
        levels = std::nullopt;
    }
    if (levels != naive::levelsOf(text)) {
        std::abort();
    }
    return 0;
}
