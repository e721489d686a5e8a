#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace brindle {

namespace {

constexpr int LAST_SHORT_CODE = 255;
constexpr int STATUS_OF_BAD_USAGE = 2;

std::string fileName(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string leftColumn(int shortOption, const std::string& name)
{
    std::string column;
    if (shortOption <= LAST_SHORT_CODE) {
        column = {'-', static_cast<char>(shortOption)};
    }
    if (!name.empty()) {
        column += column.empty() ? "--" : ", --";
        column += name;
    }
    return column;
}

}

int Application::printHelp(bool error)
{
    std::ostream& stream = error ? std::cerr : std::cout;
    stream << "Usage: " << fileName(appPath()) << " " << foreword << std::endl << std::endl;
    if (appImpl.optionList != nullptr) {
        std::size_t width = 0;
        for (const Option* option : *appImpl.optionList) {
            width = std::max(width, leftColumn(option->shortOption, option->name).size());
        }
        for (const Option* option : *appImpl.optionList) {
            const std::string column = leftColumn(option->shortOption, option->name);
            stream << "  " << std::left;
            stream.width(static_cast<std::streamsize>(width));
            stream << column;
            stream.width(0); // a stream that has failed keeps its width
            stream << "  " << option->description << std::endl;
        }
    }
    stream << std::endl << afterword << std::endl;
    return error ? STATUS_OF_BAD_USAGE : EXIT_SUCCESS;
}

void Application::setForeword(const std::string& text)
{
    foreword = text;
}

void Application::setAfterword(const std::string& text)
{
    afterword = text;
}

}
