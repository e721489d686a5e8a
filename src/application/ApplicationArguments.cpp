#include "application/ApplicationImpl.hpp"

#include <brindle/Option.hpp>

#include <apr_errno.h>

namespace brindle {

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
    // In a copy, so that the word is taken again if there is no memory for its argument.
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
    return WRONG_WORD; // the program has changed the list since init()
}

}
