#include <brindle/utility/Version.hpp>

#include "utility/VersionHelpers.hpp"

#include <algorithm>
#include <limits>
#include <ostream>

namespace brindle::utility {

namespace {

// Below, at or above 0 as the first version is less than, equal to or greater than the second.
int compare(const std::vector<int>& first, const std::vector<int>& second)
{
    const auto [one, other] = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
    if (one != first.end() && other != second.end()) {
        return *one < *other ? -1 : 1;
    }
    if (!compHelper_terminatesInZeroes(one, first.end())) {
        return 1;
    }
    return compHelper_terminatesInZeroes(other, second.end()) ? 0 : -1;
}

}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is the interface
Version::Version(std::string text)
{
    if (!text.empty()) {
        levels.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '.')) + 1);
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

bool Version::operator==(const Version& other) const
{
    return compare(levels, other.levels) == 0;
}

bool Version::operator!=(const Version& other) const
{
    return compare(levels, other.levels) != 0;
}

bool Version::operator<(const Version& other) const
{
    return compare(levels, other.levels) < 0;
}

bool Version::operator>(const Version& other) const
{
    return compare(levels, other.levels) > 0;
}

bool Version::operator<=(const Version& other) const
{
    return compare(levels, other.levels) <= 0;
}

bool Version::operator>=(const Version& other) const
{
    return compare(levels, other.levels) >= 0;
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
