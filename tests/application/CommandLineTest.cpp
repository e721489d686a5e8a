#include "StartedApplication.hpp"
#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"

#include <apr_getopt.h>

namespace {

apr_status_t parserStatus = APR_SUCCESS; // if another one, the parser returns it

// Prints itself as it is handled.
struct PrintedOption : Option {
    PrintedOption(const char* text, int code, bool takesValue) : Option(text, code, takesValue, ""), label(text)
    {
        setDefault("default");
    }

    int handleOption() override
    {
        std::cerr << label << (isSet() ? "=" : " is not set, =") << argument() << ' ';
        errorText = argument() == "bad" ? ", refused" : "";
        return errorText.empty() ? 0 : 5;
    }

    const char* label;
};

struct CommandLine : testing::Test {
    Option plain{"plain", 256, false, ""};
    PrintedOption all{"all", 'a', false}, other{"other", 'a', false}, lost{"lost", 'l', false};
    PrintedOption port{"port", 'p', true}, nameless{"", 'n', true};
    std::vector<Option*> options = {&plain, &all, &other, &port, &nameless, &lost};
};

const char* const COMMAND_LINES[][3] = {
    {"letters share a word; a flag keeps its default; -- is the end", "-ap7 -- -a", "all=default port=7 result -1"},
    {"a value may be the next word and look like an option", "-p -a --port --", "port=-a port=-- result -1"},
    {"the value is all that follows the first =, and may be empty", "--port=a=b --port=", "port=a=b port= result -1"},
    {"an option without a check; one without a name takes a value after --=", "--plain --=7", "=7 result -1"},
    {"the first option with the letter is set; an operand ends the options", "--other x -a", "all=default result -1"},
    {"an option that refuses its value decides the result", "-p bad -a", "port=bad result 5, refused"},
    {"an option that has left the list is unknown", "-l", "result 1"},
    {"a name may not be abbreviated", "--plai", "program: invalid option: --plai\nresult 1"},
    {"no option has this letter", "-axp7", "all=default program: invalid option character: x\nresult 1"},
    {"a value is missing", "--port", "program: missing argument: --port\nresult 1"},
    {"a flag takes no value", "--all=yes", "program: erroneous argument: --all=yes\nresult 1"},
};

}

apr_status_t apr_getopt_long(apr_getopt_t* parser, const apr_getopt_option_t* table, int* code, const char** argument)
{
    return parserStatus != APR_SUCCESS ? parserStatus : REAL_CALL(apr_getopt_long)(parser, table, code, argument);
}

TEST_F(CommandLine, IsTakenOptionByOptionUpToAResultOtherThan0)
{
    const auto parse = [this](const std::string& words) {
        startApplication("program " + words, &options);
        options.pop_back(); // lost
        int result = 0;
        while (result == 0) {
            result = app.parseArg();
        }
        std::cerr << "result " << result << port.errors();
        _exit(0);
    };
    for (const auto& [shows, words, output] : COMMAND_LINES) {
        EXPECT_EXIT(parse(words), testing::ExitedWithCode(0), testing::Eq(output)) << shows;
    }
}

TEST_F(CommandLine, HandsOnAnUnknownStatusAndEndsAtOneAboveThoseOfTheParser)
{
    startApplication("program -a", &options);
    parserStatus = APR_BADCH - 1;
    EXPECT_EQ(APR_BADCH - 1, app.parseArg());
    parserStatus = APR_EOF + 1;
    EXPECT_EQ(-1, app.parseArg());
    parserStatus = APR_SUCCESS;
}

TEST_F(CommandLine, LosesNoValueWhereMemoryRunsOut)
{
    startApplication("program -p 12345678901234567890", &options);
    allocations::untilFailure = 1;
    EXPECT_THROW(app.parseArg(), std::bad_alloc);
    EXPECT_FALSE(port.isSet());
    EXPECT_EQ(0, app.parseArg());
    allocations::untilFailure = 2; // the first is the copy that setDefault() takes
    EXPECT_THROW(port.setDefault("another long value"), std::bad_alloc);
    EXPECT_EQ("12345678901234567890", port.argument());
}
