// Any text gives the levels that the naive twin finds, or an exception where the twin finds a level that is none.

#include <brindle/utility/Version.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>

using Levels = std::optional<std::vector<int>>;

static Levels plainLevels(const std::string& text)
{
    std::vector<int> levels;
    std::istringstream pieces(text);
    std::string piece;
    while (std::getline(pieces, piece, '.')) {
        const long long level = std::strtoll(piece.c_str(), nullptr, 10); // the nearest that fits, if it does not
        if (level != static_cast<int>(level) ||
            std::any_of(piece.begin(), piece.end(), [](unsigned char byte) { return std::isalpha(byte); })) {
            return std::nullopt;
        }
        levels.push_back(static_cast<int>(level));
    }
    return levels;
}

static Levels levelsOf(const std::string& text)
{
    try {
        return brindle::utility::Version(text).getVersionLevels();
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    if (levelsOf(text) != plainLevels(text)) {
        std::abort();
    }
    return 0;
}
