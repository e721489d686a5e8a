#include "utility/VersionHelpers.hpp"

#include "utility/SystemErrorText.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace {

// Any number of so many digits fits into an int. Nearly every level has no more digits and is read without strtol.
constexpr std::size_t SAFE_DIGITS = std::numeric_limits<int>::digits10;

[[noreturn]] void fail(const std::string& version, const std::string& level, const char* reason, int error)
{
    std::string message = "Could not convert ";
    message += version;
    message += " to a version. The version level \"";
    message += level;
    message += "\" cannot be converted to a number";
    message += reason;
    message += ". Error message: ";
    message += brindle::utility::systemErrorText(error);
    throw std::runtime_error(message);
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
        errno = ERANGE; // strtol reports nothing where a long is wider than an int
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
    for (const char byte : text) {
        if (std::isalpha(static_cast<unsigned char>(byte)) != 0) {
            return true;
        }
    }
    return false;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as an int has digits
void constructorHelper_separateIntIntoVec(int number, std::vector<int>& levels)
{
    if (number > 9) {
        constructorHelper_separateIntIntoVec(number / 10, levels);
    }
    const int digit = number % 10;
    levels.push_back(digit);
}

void constructorHelper_separateStringIntoVec(const std::string& text, std::vector<int>& levels)
{
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        int level = 0;
        for (end = begin; end - begin < SAFE_DIGITS && '0' <= text[end] && text[end] <= '9'; ++end) {
            level = 10 * level + (text[end] - '0');
        }
        if (end > begin && (end == text.size() || text[end] == '.')) {
            errno = 0; // as strtol leaves it after a valid level
        } else {
            end = std::min(text.find('.', end), text.size());
            level = parseLevel(text, text.substr(begin, end - begin));
        }
        levels.push_back(level);
    }
}
