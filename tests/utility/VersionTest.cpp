#include "Allocations.hpp"
#include "EveryText.hpp"

#include <brindle/utility/Version.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

using brindle::utility::Version;
using namespace std::string_literals;
using Levels = std::vector<int>;

namespace {

Levels levelsOf(const std::string& text)
{
    return Version(text).getVersionLevels();
}

[[noreturn]] void fail(const std::string& text, const std::string& level, const std::string& reason)
{
    throw std::runtime_error("Could not convert " + text + " to a version. The version level \"" + level +
                             "\" cannot be converted to a number" + reason + ". Error message: " + strerror(errno));
}

// The naive twin: a stream, and a text of its own for each level.
Levels streamedLevels(const std::string& text)
{
    Levels levels;
    std::stringstream stream(text);
    for (std::string level; std::getline(stream, level, '.');) {
        if (std::any_of(level.begin(), level.end(), [](unsigned char byte) { return std::isalpha(byte); })) {
            fail(text, level, ", as it contains letters");
        }
        errno = 0;
        const long long value = std::strtoll(level.c_str(), nullptr, 10);
        if (value < INT_MIN || value > INT_MAX) {
            errno = ERANGE;
            fail(text, level, "");
        }
        levels.push_back(static_cast<int>(value));
    }
    return levels;
}

// The levels, or what the failure says. An earlier ENOENT shows whether errno is left alone where it should be.
std::string outcome(Levels (*read)(const std::string&), const std::string& text)
{
    errno = ENOENT;
    std::string result;
    try {
        for (const int level : read(text)) {
            result += std::to_string(level) + ",";
        }
    } catch (const std::runtime_error& failure) {
        result = failure.what();
    }
    return result;
}

std::string written(const Version& version)
{
    std::ostringstream stream;
    stream << std::setfill('*') << std::setw(4) << std::hex << std::uppercase << version;
    return stream.str();
}

}

TEST(Version, ReadsEveryShortTextAndTheOddOnesAsAStreamWould)
{
    forEveryText("019.-a", 6, [](const std::string& text) {
        ASSERT_EQ(outcome(streamedLevels, text), outcome(levelsOf, text)) << text;
    });
    for (const std::string& text :
         {"2147483647.-2147483648"s, "1.2147483648"s, "-2147483649"s, "1.99999999999999999999"s, " 1.\t2.3 .\v\n4"s,
          "+1.+-2"s, "v1"s, "1.2b.3"s, "1,5.2"s, "\xe4.\xff"s, "1\0002.3"s, "1\0a"s, "01.002.0000000000000000003"s}) {
        EXPECT_EQ(outcome(streamedLevels, text), outcome(levelsOf, text)) << text;
    }
}

TEST(Version, ComparesEveryPairInAllSixWays)
{
    std::istringstream texts(
        "-2147483648 < -2 -2.0 < -2.9 < -1 -1. < -1.1 < . 0 0.0 .0. -0 < 0.0.1 < 0.1 < "
        "1 01 1. 1.0 1.0.00 < 1.0.1 < 1.1 < 1.2 1.02 1.2.0 1.2.0.0. < 1.2.0.1 < 1.2.1 < 1.2.2147483647 < "
        "1.9 < 1.10 < 1.10.2 < 1.99 < 2 2.-0 < 10 010 < 2147483647 2147483647.0");
    std::vector<std::pair<int, Version>> versions;
    int rank = 0;
    for (std::string text; texts >> text; rank += text == "<" ? 1 : 0) {
        if (text != "<") {
            versions.emplace_back(rank, text);
        }
    }
    for (const auto& [i, a] : versions) {
        for (const auto& [j, b] : versions) {
            EXPECT_EQ((std::vector<bool>{i == j, i != j, i<j, i> j, i <= j, i >= j}),
                      (std::vector<bool>{a == b, a != b, a<b, a> b, a <= b, a >= b}))
                << a << " and " << b;
        }
    }
    EXPECT_TRUE(Version("") == Version("0.0") && Version("") < Version("1"));
    EXPECT_TRUE(Version("1") < Version("1.-1") && Version("1.-1") < Version("1.0")); // although 1 and 1.0 are equal
}

TEST(Version, WritesItsLevelsAsTheStreamWritesNumbers)
{
    const std::pair<Version, const char*> rows[] = {
        {Version("1.2.0"), "***1.2.0"}, {Version("10.31"), "***A.1F"}, {Version(""), ""},
        {Version(0), "***0"},           {Version(10), "***1.0"},       {Version(INT_MAX), "***2.1.4.7.4.8.3.6.4.7"},
        {Version(-15), "FFFFFFFB"},
    };
    for (const auto& [version, text] : rows) {
        EXPECT_EQ(text, written(version));
    }
}

TEST(Version, LeavesNothingBehindWhenMemoryRunsOut)
{
    for (const std::string text : {"1.2.00000000000000000000000000000003", "1.2.x", "1.99999999999"}) {
        allocations::failEach([&] { outcome(levelsOf, text); }, [] {});
    }
    allocations::failEach([] { const Version version(INT_MAX); }, [] {});
}
