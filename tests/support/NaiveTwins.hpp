#pragma once

#include <cerrno>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// Slow and simple versions of what the library does, for tests and fuzzers to compare with.
namespace naive {

/// The entries of a configuration file with @p content.
inline std::map<std::string, std::string> entriesOf(const std::string& content)
{
    std::map<std::string, std::string> entries;
    std::istringstream words(content);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals != std::string::npos) {
            entries[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }
    return entries;
}

/// The levels of a version with @p text; none if one of them is wrong.
inline std::optional<std::vector<int>> levelsOf(const std::string& text)
{
    std::vector<int> levels;
    std::istringstream pieces(text);
    for (std::string piece; std::getline(pieces, piece, '.');) {
        errno = 0; // musl sets it where there are no digits
        const long long level = std::strtoll(piece.c_str(), nullptr, 10);
        const bool hasLetter =
            piece.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz") != std::string::npos;
        if (errno != 0 || level != static_cast<int>(level) || hasLetter) {
            return std::nullopt;
        }
        levels.push_back(static_cast<int>(level));
    }
    return levels;
}

}
