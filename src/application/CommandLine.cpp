// The program's options: the parser that init() makes of them, parseArg(), and the help text.

#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <algorithm>
#include <apr_errno.h>
#include <cstdlib>
#include <iostream>

namespace brindle {

void Application::ApplicationImpl::forgetParser()
{
    getoptState = nullptr;
    optionList = nullptr;
    delete[] optionTable;
    optionTable = nullptr;
}

apr_status_t Application::ApplicationImpl::prepareParser(int count, char** words, std::vector<Option*>& options)
{
    optionList = &options;
    optionTable = new apr_getopt_option_t[options.size() + 1];
    apr_getopt_option_t* row = optionTable;
    for (const Option* option : options) {
        *row = {option->name.c_str(), option->shortOption, option->hasArgument ? 1 : 0, option->description.c_str()};
        ++row;
    }
    *row = {"", 0, 0, ""};
    return apr_getopt_init(&getoptState, pool, count, words);
}

namespace {

constexpr int NO_MORE_OPTIONS = -1;
constexpr int WRONG_WORD = 1;

int resultOf(apr_status_t failure)
{
    if (failure == APR_BADCH || failure == APR_BADARG) {
        return WRONG_WORD;
    }
    return failure >= APR_EOF ? NO_MORE_OPTIONS : failure;
}

}

int Application::parseArg()
{
    if (appImpl.getoptState == nullptr) {
        return NO_MORE_OPTIONS;
    }
    // A copy of the parser takes the word. If there is no memory for its argument, the next call takes the word again.
    apr_getopt_t parser = *appImpl.getoptState;
    int code = 0;
    const char* argument = nullptr;
    const apr_status_t status = apr_getopt_long(&parser, appImpl.optionTable, &code, &argument);
    if (status != APR_SUCCESS) {
        *appImpl.getoptState = parser;
        return resultOf(status);
    }
    for (Option* option : *appImpl.optionList) {
        if (option->shortOption == code) {
            if (argument != nullptr) {
                option->argumentText = argument;
            }
            *appImpl.getoptState = parser;
            option->wasSet = true;
            return option->handleOption();
        }
    }
    *appImpl.getoptState = parser;
    return WRONG_WORD; // the program has changed its list since init()
}

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
            stream.width(0); // a failed stream would keep its width
            stream << "  " << option->description << std::endl;
        }
    }
    stream << std::endl << afterword << std::endl;
    return error ? STATUS_OF_BAD_USAGE : EXIT_SUCCESS;
}

}
