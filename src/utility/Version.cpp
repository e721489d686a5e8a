#include <brindle/utility/Version.hpp>

#include "utility/VersionHelpers.hpp"

#include <algorithm>
#include <limits>
#include <ostream>

namespace brindle::utility {

namespace {

constexpr std::size_t USUAL_LEVELS = 4;

}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is the interface
Version::Version(std::string text)
{
    if (!text.empty()) {
        levels.reserve(USUAL_LEVELS); // not one level for each dot: the first level may be wrong
    }
    constructorHelper_separateStringIntoVec(text, levels);
}

Version::Version(int number)
{
    levels.reserve(std::numeric_limits<int>::digits10 + 1);
    constructorHelper_separateIntIntoVec(number, levels);
}

std::vector<int> Version::getVersionLevels() const
{
    return levels;
}

int Version::compareEnds(const Version& other) const
{
    const auto common = static_cast<std::ptrdiff_t>(std::min(levels.size(), other.levels.size()));
    if (!compHelper_terminatesInZeroes(levels.begin() + common, levels.end())) {
        return 1;
    }
    return compHelper_terminatesInZeroes(other.levels.begin() + common, other.levels.end()) ? 0 : -1;
}

std::ostream& operator<<(std::ostream& stream, const Version& version)
{
    for (std::size_t position = 0; position < version.levels.size(); ++position) {
        if (position > 0) {
            stream << '.';
        }
        stream << version.levels[position];
    }
    return stream;
}

}
