#include "StartedApplication.hpp"

TEST(Help, NeedsNoListOfOptions)
{
    EXPECT_EXIT(_exit(app.printHelp(true)), testing::ExitedWithCode(2), testing::Eq("Usage: help_test \n\n\n\n"));
}

// The transcripts of the examples show that text.
TEST(Help, GoesToStandardOutputWithStatus0WhereNothingIsWrong)
{
    EXPECT_EXIT(_exit(app.printHelp(false)), testing::ExitedWithCode(0), testing::Eq(""));
}

TEST(Help, ShowsTheTextsAndEachOptionOfTheListAsTheyAreNow)
{
    Option quiet("", 'q', false, "A letter alone.");
    Option interval("interval", 'i', true, "The longest column makes all as wide. ");
    Option even("even", 256, false, "A code from 256 up is no letter.");
    Option odd("odd", 255, false, "A code up to 255 is one.");
    std::vector<Option*> options = {&quiet, &interval, &even, &odd};
    startApplication("program", &options);
    interval.setDefault("3");
    app.setForeword("replaced");
    app.setForeword("[options] file");
    app.setAfterword("Files are read in order.");
    const char* const help = "Usage: help_test [options] file\n\n"
                             "  -q              A letter alone.\n"
                             "  -i, --interval  The longest column makes all as wide. Default: 3\n"
                             "  --even          A code from 256 up is no letter.\n"
                             "  -\xff, --odd       A code up to 255 is one.\n"
                             "\nFiles are read in order.\n";
    EXPECT_EXIT(_exit(app.printHelp(true)), testing::ExitedWithCode(2), testing::Eq(help));
}
