#include "support/EverySequence.hpp"
#include "support/NaiveTwins.hpp"

#include <brindle/utility/Version.hpp>

#include <cstring>
#include <gtest/gtest.h>
#include <iomanip>
#include <numeric>

using brindle::utility::Version;

TEST(Version, ReadsLevelsAsItsNaiveTwinDoes)
{
    const std::vector<std::string> pieces = {".", "0",    "9",    "+",          "-",          "\t",
                                             "x", "\xe4", {'\0'}, "2147483647", "2147483648", "2147483649"};
    forEverySequence(pieces, 4, [](const std::vector<std::string>& sequence) {
        const std::string text = std::accumulate(sequence.begin(), sequence.end(), std::string());
        const auto levels = naive::levelsOf(text);
        errno = ENOENT; // which must not pass for an error of the conversion
        if (levels) {
            EXPECT_EQ(*levels, Version(text).getVersionLevels()) << text;
        } else {
            EXPECT_THROW(Version{text}, std::runtime_error) << text;
        }
    });
}

TEST(Version, NamesTheLevelThatItCannotRead)
{
    const struct {
        const char* shows;
        std::string text, level, reason;
        int error; // which the message ends with; ENOENT before the call
    } cases[] = {
        {"a letter at once: an error from before", "v1", "v1", ", as it contains letters", ENOENT},
        {"a letter later: no error", "1.2B.3", "2B", ", as it contains letters", 0},
        {"the first of two wrong levels", "2147483648.x", "2147483648", "", ERANGE},
    };
    for (const auto& [shows, text, level, reason, error] : cases) {
        errno = ENOENT;
        try {
            const Version version(text);
            ADD_FAILURE() << shows << ": read as " << version;
        } catch (const std::runtime_error& failure) {
            const std::string begin = "Could not convert " + text + " to a version. The version level \"" + level;
            EXPECT_EQ(begin + "\" cannot be converted to a number" + reason + ". Error message: " + strerror(error),
                      failure.what())
                << shows;
        }
    }
}

TEST(Version, HasALevelForEachDigitOfANumber)
{
    EXPECT_EQ((std::vector<int>{1, 0, 2, 9}), Version(1029).getVersionLevels());
    EXPECT_EQ((std::vector<int>{0}), Version(0).getVersionLevels());
    EXPECT_EQ((std::vector<int>{-5}), Version(-15).getVersionLevels()) << "a negative number has one level";
}

TEST(Version, ComparesLevelByLevelWithoutTrailingZeros)
{
    EXPECT_TRUE(Version("1.2") == Version("1.2.0.0") && Version("1.2.0.0") == Version("1.2"));
    EXPECT_TRUE(Version("") == Version("0"));
    EXPECT_TRUE(Version("1.9") < Version("1.10") && Version("1.99") < Version("2"));
    EXPECT_TRUE(Version("1.2") < Version("1.2.0.1") && Version("1.2.0.1") > Version("1.2"));
    EXPECT_TRUE(Version("1") < Version("1.-1")) << "any level but 0 counts";
    EXPECT_TRUE(Version("1.2") <= Version("1.2.0") && Version("1.2") >= Version("1.2.0"));
    EXPECT_FALSE(Version("1.2") < Version("1.2.0") || Version("1.2") > Version("1.2.0") ||
                 Version("1") != Version("1.0"));
}

TEST(Version, WritesItsLevelsAsTheStreamWritesNumbers)
{
    std::ostringstream stream;
    stream << Version("1.10.0.0") << ' ' << Version("") << std::hex << std::setw(4) << Version("1.10.31");
    EXPECT_EQ("1.10.0.0    1.a.1f", stream.str());
}
