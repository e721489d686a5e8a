#include "UserInput.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace userinput {

namespace {

bool contains(const std::vector<std::string>& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// Returns whether the next word is the value of this option, as for --config or -hc. It is not for --config=FILE or
// -hcFILE.
bool takesNextWord(const std::string& option, const std::vector<std::string>& valued)
{
    if (option.compare(0, 2, "--") == 0) {
        return contains(valued, option);
    }
    for (std::size_t letter = 1; letter < option.size(); ++letter) {
        if (contains(valued, std::string("-") + option[letter])) {
            return letter + 1 == option.size();
        }
    }
    return false;
}

std::string advice(const std::string& key, const std::vector<std::string>& keys)
{
    if (key.compare(0, 1, "#") == 0) {
        return "; there are no comments, so take the '=' out";
    }
    return key.empty() ? "; write " + keys.front() + "=5 without blanks" : "";
}

}

std::string firstWord(int argc, const char* const* argv, const std::vector<std::string>& valued)
{
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--") {
            return i + 1 < argc ? argv[i + 1] : "";
        }
        if (argument.empty() || argument[0] != '-') {
            return argument.empty() ? "''" : argument;
        }
        if (takesNextWord(argument, valued)) {
            ++i;
        }
    }
    return "";
}

std::string escaped(const std::string& text)
{
    std::string shown;
    for (const char c : text) {
        if (c >= ' ' && c <= '~') {
            shown += c;
        } else {
            char code[5];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            shown += code;
        }
    }
    return shown;
}

int wholeNumber(const std::string& text, int least, int most, const std::string& where)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most) {
        throw std::invalid_argument(where + ": '" + escaped(text) + "' is not a whole number from " +
                                    std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

SettingsFile::SettingsFile(const std::string& path, const std::vector<std::string>& keys, bool isRequired)
{
    struct stat status = {};
    int problem = stat(path.c_str(), &status) == 0 ? 0 : errno;
    if (!isRequired && (problem == ENOENT || problem == ENOTDIR)) {
        return;
    }
    if (problem == 0 && S_ISDIR(status.st_mode)) {
        problem = EISDIR;
    } else if (problem == 0 && !readCfgFile(path)) {
        problem = errno;
    }
    if (problem != 0) {
        throw std::invalid_argument("'" + path + "': " + std::generic_category().message(problem));
    }
    for (const auto& [key, value] : entries) {
        if (!contains(keys, key)) {
            throw std::invalid_argument("'" + path + "': '" + escaped(key) + "=' sets nothing" + advice(key, keys));
        }
    }
}

}
