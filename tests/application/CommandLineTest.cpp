#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

using brindle::Application;
using brindle::Option;

namespace {

using Words = std::vector<std::string>;

struct RefusesBad : Option {
    using Option::Option;
    int handleOption() override { return argument() == "bad" ? 1 : 0; }
};

// What each parseArg() returned, up to the first that was not 0, and the options set, with their arguments.
std::string parseHere(Words words)
{
    words.insert(words.begin(), "program");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    int argc = static_cast<int>(words.size());

    Option all("all", 'a', false, ""), verbose("verbose", 256, false, ""), nameless("", 'n', true, "");
    Option shadowed("other", 'a', false, ""), endOfTable("end", 0, false, ""), unseen("unseen", 'u', false, "");
    RefusesBad port("port", 'p', true, "");
    all.setDefault("default");
    std::vector<Option*> options = {&all, &port, &verbose, &nameless, &shadowed, &endOfTable, &unseen};
    Application& app = Application::app();
    std::string outcome;
    for (int result = app.init(&argc, argv.data(), &options); result == 0;) {
        result = app.parseArg();
        outcome += std::to_string(result) + " ";
    }
    for (std::size_t i = 0; i < options.size(); ++i) {
        outcome += options[i]->isSet() ? "apvnoeu"[i] + ("=" + options[i]->argument()) + " " : "";
    }
    return outcome;
}

// In a process of its own, since a program starts its application once; what the parser says goes nowhere.
bool parsesTo(const std::string& expected, const Words& words)
{
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        const std::string outcome = parseHere(words);
        if (outcome != expected) {
            std::cout << testing::PrintToString(words) << " gave " << outcome << std::endl;
        }
        _exit(outcome == expected ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

// The naive twin, for the words of the exhaustive test: -a is a flag, -p takes an argument.
std::string parseNaively(const Words& words)
{
    std::string outcome, all, port, last = "-1 ";
    for (auto word = words.begin(); word != words.end() && *word != "--" && *word != "x"; ++word) {
        if (*word == "-") {
            last = "1 ";
            break;
        }
        if (*word == "-a" || *word == "-ap") {
            all = "a=default ";
            outcome += "0 ";
        }
        if (*word == "-p7") {
            port = "p=7 ";
            outcome += "0 ";
        } else if (*word != "-a") {
            if (++word == words.end()) {
                last = "1 ";
                break;
            }
            port = "p=" + *word + " ";
            outcome += "0 ";
        }
    }
    return outcome + last + all + port;
}

}

TEST(CommandLine, IsTakenWordByWord)
{
    const std::pair<Words, std::string> rows[] = {
        {{}, "-1 "},
        {{"--port=7", "--all"}, "0 0 -1 a=default p=7 "},
        {{"--port="}, "0 -1 p= "},
        {{"--port=a=b"}, "0 -1 p=a=b "},
        {{"-p", "bad", "-a"}, "1 p=bad "},
        {{"--verbose"}, "0 -1 v= "},
        {{"--verbose=yes"}, "1 "},
        {{"-axp7"}, "0 1 a=default "},
        {{"--verb"}, "1 "},
        {{"--other"}, "0 -1 a=default "},
        {{"--=7"}, "0 -1 n=7 "},
        {{"-u"}, "1 "},
        {{"--end"}, "1 "},
    };
    for (const auto& [words, expected] : rows) {
        EXPECT_TRUE(parsesTo(expected, words)) << "and not " << expected;
    }
}

TEST(CommandLine, AgreesWithANaiveTwinOnUpToFourWords)
{
    const Words tokens = {"-a", "-ap", "-p", "-p7", "--port", "--", "-", "x"};
    int lines = 0;
    const std::function<void(const Words&)> checkWithAllEndings = [&](const Words& words) {
        ++lines;
        ASSERT_TRUE(parsesTo(parseNaively(words), words)) << "and not " << parseNaively(words);
        for (std::size_t i = 0; i < tokens.size() && words.size() < 4; ++i) {
            Words longer = words;
            longer.push_back(tokens[i]);
            checkWithAllEndings(longer);
        }
    };
    checkWithAllEndings({});
    EXPECT_EQ(1 + 8 + 64 + 512 + 4096, lines);
}
