#pragma once

// Naive twins of what the library does, for tests and fuzzers.

#include <map>
#include <sstream>
#include <string>

/// What a configuration file with @p content holds.
inline std::map<std::string, std::string> plainEntries(const std::string& content)
{
    std::map<std::string, std::string> entries;
    std::istringstream words(content);
    std::string word;
    while (words >> word) {
        const std::size_t equals = word.find('=');
        if (equals != std::string::npos) {
            entries[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }
    return entries;
}
