#pragma once

#include <brindle/Configuration.hpp>

#include <string>
#include <vector>

/// Checks user input: words of the command line, numbers, and settings in a file.
namespace userinput {

/// Returns the first word that is neither an option nor the value of an option, or "". The parser stops there silently.
/// @p valued lists the options that take a value, such as "-c" and "--config".
std::string firstWord(int argc, const char* const* argv, const std::vector<std::string>& valued);

/// Returns the text with each byte that is not printable ASCII as \xNN, which printf(1) reads.
std::string escaped(const std::string& text);

/// Returns the number in @p text. Throws std::invalid_argument, whose text begins with the origin @p where.
int wholeNumber(const std::string& text, int least, int most, const std::string& where);

/// The settings in a file.
class SettingsFile : public brindle::Configuration {
public:
    /// Reads the file at @p path. A key outside @p keys is an error, because a misspelt key would have no effect.
    /// Unless @p isRequired, a missing file counts as empty. Throws std::invalid_argument.
    SettingsFile(const std::string& path, const std::vector<std::string>& keys, bool isRequired);
};

}
