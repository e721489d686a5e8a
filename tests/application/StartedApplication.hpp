#pragma once

#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <gtest/gtest.h>
#include <iostream>
#include <unistd.h>
#include <wordexp.h>

using brindle::Option;

inline brindle::Application& app = brindle::Application::app();

/// Calls init() with the words of `commandLine`, the first of which is the program's name.
inline int startApplication(const std::string& commandLine, std::vector<Option*>* options)
{
    static wordexp_t words = {}; // the parser points into them
    wordexp(commandLine.c_str(), &words, WRDE_REUSE);
    int count = static_cast<int>(words.we_wordc);
    return app.init(&count, words.we_wordv, options);
}
