#pragma once

#include <brindle/Configuration.hpp>

#include <string>
#include <vector>

/// Checks of what a user gives: words of the command line, numbers, and settings in a file.
namespace userinput {

/// The first word of a command line that is neither an option nor the value of an option, or "". The parser stops there
/// without a report. @p valued lists the options that take a value, such as "-c" and "--config".
std::string firstWord(int argc, const char* const* argv, const std::vector<std::string>& valued);

/// The text with each byte that a terminal hides or obeys as \xNN, which printf(1) reads.
std::string escaped(const std::string& text);

/// The number in @p text. Throws std::invalid_argument, whose text begins with the origin @p where.
int wholeNumber(const std::string& text, int least, int most, const std::string& where);

/// The settings in a file.
class SettingsFile : public brindle::Configuration {
public:
    /// Reads the file at @p path. A key outside @p keys is a mistake, because a misspelt key would have no effect.
    /// Unless @p isRequired, a missing file is the same as an empty one. Throws std::invalid_argument.
    SettingsFile(const std::string& path, const std::vector<std::string>& keys, bool isRequired);
};

}
