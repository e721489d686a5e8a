#include "utility/VersionHelpers.hpp"

#include "utility/SystemErrorText.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace {

[[noreturn]] void fail(const std::string& version, const std::string& level, const char* reason, int error)
{
    throw std::runtime_error("Could not convert " + version + " to a version. The version level \"" + level +
                             "\" cannot be converted to a number" + reason +
                             ". Error message: " + brindle::utility::systemErrorText(error));
}

int parseLevel(const std::string& version, const std::string& level)
{
    if (constructorHelper_containsLetter(level)) {
        fail(version, level, ", as it contains letters", errno);
    }
    errno = 0;
    const long value = std::strtol(level.c_str(), nullptr, 10);
    const int number = static_cast<int>(value);
    if (number != value) {
        errno = ERANGE; // where a long is longer than an int
    }
    if (errno != 0) {
        fail(version, level, "", errno);
    }
    return number;
}

}

bool compHelper_terminatesInZeroes(std::vector<int>::const_iterator first, std::vector<int>::const_iterator last)
{
    return std::all_of(first, last, [](int level) { return level == 0; });
}

bool constructorHelper_containsLetter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char byte) { return std::isalpha(byte) != 0; });
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as an int has digits
void constructorHelper_separateIntIntoVec(int number, std::vector<int>& levels)
{
    if (number > 9) {
        constructorHelper_separateIntIntoVec(number / 10, levels);
    }
    levels.push_back(number % 10);
}

void constructorHelper_separateStringIntoVec(const std::string& text, std::vector<int>& levels)
{
    std::string level; // one buffer for all of them
    for (std::size_t begin = 0; begin < text.size(); begin += level.size() + 1) {
        level.assign(text, begin, text.find('.', begin) - begin);
        levels.push_back(parseLevel(text, level));
    }
}
