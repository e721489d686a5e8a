#include "support/EverySequence.hpp"
#include "support/NaiveTwins.hpp"

#include <brindle/utility/Version.hpp>

#include <cstring>
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
            EXPECT_EQ(*levels, Version(text).getVersionLevels()) << testing::PrintToString(text);
        } else {
            EXPECT_THROW(Version{text}, std::runtime_error) << testing::PrintToString(text);
        }
    });
}

// The message of the exception, before which errno was ENOENT.
static std::string messageFor(const std::string& text)
{
    errno = ENOENT;
    try {
        return "read as " + testing::PrintToString(Version(text));
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}

TEST(Version, NamesTheFirstLevelThatItCannotRead)
{
    const std::string letters = "\" cannot be converted to a number, as it contains letters. Error message: ";
    const std::string number = "\" cannot be converted to a number. Error message: ";
    EXPECT_EQ("Could not convert v1 to a version. The version level \"v1" + letters + strerror(ENOENT),
              messageFor("v1"));
    EXPECT_EQ("Could not convert 1.2B.v to a version. The version level \"2B" + letters + strerror(0),
              messageFor("1.2B.v"));
    EXPECT_EQ("Could not convert 2147483648.x to a version. The version level \"2147483648" + number + strerror(ERANGE),
              messageFor("2147483648.x"));
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
