#include <brindle/Option.hpp>

#include <utility>

namespace brindle {

Option::Option(std::string longName, int code, bool takesArgument, std::string helpText)
    : name(std::move(longName)), shortOption(code), hasArgument(takesArgument), description(std::move(helpText))
{
}

Option::~Option() = default;

int Option::handleOption()
{
    return 0;
}

bool Option::isSet() const
{
    return wasSet;
}

std::string Option::errors() const
{
    return errorText;
}

std::string Option::argument() const
{
    return argumentText;
}

void Option::setDefault(std::string value)
{
    std::string withDefault = description; // first, so that a std::bad_alloc changes nothing
    withDefault += "Default: ";
    withDefault.append(value.data(), value.size());
    argumentText = std::move(value);
    description = std::move(withDefault);
}

}
