#include "Setting.hpp"

#include "UserInput.hpp"

#include <charconv>
#include <optional>

namespace {

std::optional<int> wholeNumber(const std::string& text)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    const bool good = read.ec == std::errc() && read.ptr == end;
    return good ? std::optional<int>(number) : std::nullopt;
}

std::string range(int least, int most)
{
    return std::to_string(least) + " to " + std::to_string(most);
}

}

Setting::Setting(const std::string& longName, int code, const std::string& meaning, const std::string& preset)
    : Option(longName, code, true, meaning + ". "), key(longName), text(preset)
{
    setDefault(preset);
}

int Setting::handleOption()
{
    const std::string problem = problemWith(argument());
    if (!problem.empty()) {
        errorText = "--" + key + ": " + problem;
        return 1;
    }
    text = argument();
    return 0;
}

bool Setting::takeFrom(const brindle::Configuration& file)
{
    std::string candidate = text;
    file.getOption(key, candidate);
    const std::string problem = problemWith(candidate);
    if (!problem.empty()) {
        errorText = key + ": " + problem;
        return false;
    }
    text = isSet() ? text : candidate;
    return true;
}

std::string Setting::problemWith(const std::string& candidate) const
{
    return candidate.empty() ? "may not be empty" : "";
}

NumberSetting::NumberSetting(const std::string& longName, int code, const std::string& meaning, int least, int most,
                             int preset)
    : Setting(longName, code, meaning + ", " + range(least, most), std::to_string(preset)), lowest(least), highest(most)
{
}

int NumberSetting::number() const
{
    return wholeNumber(value()).value_or(lowest); // only valid values are stored
}

std::string NumberSetting::problemWith(const std::string& candidate) const
{
    const std::optional<int> number = wholeNumber(candidate);
    const bool good = number && *number >= lowest && *number <= highest;
    return good ? "" : "'" + userinput::escaped(candidate) + "' is not a whole number from " + range(lowest, highest);
}
