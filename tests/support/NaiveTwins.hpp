#pragma once

#include <map>
#include <sstream>
#include <string>

/// Slow and simple versions of what the library does, for tests and fuzzers to compare with.
namespace naive {

/// The entries of a configuration file with @p content.
inline std::map<std::string, std::string> entriesOf(const std::string& content)
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

}
