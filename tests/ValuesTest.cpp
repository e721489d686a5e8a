#include "StandIns.hpp"
#include "config/KeyOrder.hpp"
#include "support/EverySequence.hpp"
#include "support/NaiveTwins.hpp"

#include <brindle/Configuration.hpp>
#include <brindle/UniquePtr.hpp>
#include <brindle/utility/SystemException.hpp>
#include <brindle/utility/Uuid.hpp>
#include <brindle/utility/Version.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iomanip>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <tuple>
#include <unistd.h>

using brindle::Configuration;
using namespace brindle::utility;
using namespace std::string_literals;
using Entries = std::map<std::string, std::string>;

namespace {

std::pair<int, int> failingRead; // how many reads away it is, and its errno

// The path of a file that holds `content` until the next call.
std::string file(const std::string& content)
{
    static const std::string path = "/proc/self/../self/fd/" + std::to_string(fileno(std::tmpfile()));
    std::ofstream(path) << content;
    return path;
}

// Always in the same object: a file's entries replace those of the file before.
Entries entriesOf(const std::string& path)
{
    static struct : Configuration {
        using Configuration::entries;
        bool parseConfig(std::string path) override { return path != "." && Configuration::parseConfig(path); }
    } configuration;
    EXPECT_TRUE(configuration.readCfgFile(path) && configuration.isValid());
    EXPECT_FALSE(configuration.readCfgFile(".") || configuration.readCfgFile("") ||
                 configuration.isValid()); // which leave them alone
    return configuration.entries;
}

// What look-ups of "a" and "b" give, or "-" where they give nothing.
std::string answers(const Configuration& configuration)
{
    std::string a = "-", b = "-";
    EXPECT_TRUE(configuration.getOption("a", a) ? a != "-" : a == "-");
    EXPECT_TRUE(configuration.getOption("b", b) ? b != "-" : b == "-");
    return a + " " + b;
}

}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD)); // or a program that is started meanwhile would have it
    errno = failingRead.second;
    return --failingRead.first == 0 ? -1 : REAL_CALL(read)(descriptor, buffer, size);
}

TEST(Configuration, ReadsEveryShortFileAsItsFormatSays)
{
    EXPECT_EQ(Entries(), entriesOf(file("")));
    const int unused = dup(0);
    close(unused);
    forEverySequence("a= \n"s, 5, [](const std::string& content) {
        ASSERT_EQ(naive::entriesOf(content), entriesOf(file(content))) << content;
    });
    const std::string manyBytes(20'000, 'b');
    EXPECT_EQ((Entries{{manyBytes, manyBytes}}), entriesOf(file(manyBytes + "=" + manyBytes)));
    failingRead = {2, EIO};
    EXPECT_EQ((Entries{{"a", "1"}}), entriesOf(file("a=1 b=" + manyBytes))); // the error counts as the end
    failingRead = {2, EINTR};
    EXPECT_EQ((Entries{{"a", "1"}, {"b", manyBytes}}), entriesOf(file("a=1 b=" + manyBytes))); // a signal does not
    EXPECT_EQ(Entries(), entriesOf("/")); // a directory can be opened, and then the first read fails
    EXPECT_EQ(unused, dup(0));            // every file was closed
    static const std::ctype_base::mask oneSpace[std::ctype<char>::table_size] = {{}, std::ctype_base::space};
    std::locale::global(std::locale(std::locale(), new std::ctype<char>(oneSpace)));
    EXPECT_EQ((Entries{{"a", "1 b=2"}, {"c", "3"}}), entriesOf(file("a=1 b=2\1c=3")));
    std::locale::global(std::locale::classic());
}

// What makes it quick, and so shows nowhere else. Keys share beginnings of any length, hold zero bytes, and come again.
TEST(Configuration, SortsKeysByteByByteAndLeavesEqualOnesInTheirOrder)
{
    std::string text;
    std::vector<std::size_t> sorted;
    std::multimap<std::string, std::size_t> twin;
    std::minstd_rand random;
    while (sorted.size() < 4096) { // where a vector is full, and a look beyond it is one beyond its memory
        const std::string key = std::string(random() % 30, 'a') + std::string(random() % 3, '\0') +
                                std::string(random() % 2, static_cast<char>('b' + random() % 99));
        sorted.push_back(text.size());
        twin.emplace(key, text.size());
        text += key + "=" + std::to_string(sorted.size()) + " ";
        if (sorted.size() % 100 == 2) {
            brindle::sortByKey(text, sorted);
            ASSERT_TRUE(std::equal(sorted.begin(), sorted.end(), twin.begin(), twin.end(),
                                   [](std::size_t word, const auto& same) { return word == same.second; }));
        }
    }
    for (std::size_t round = 0; round < 200; ++round) { // too long to be sorted
        text += std::string(7 * (round % 60), 'a') + "b=" + std::to_string(round) + " ";
    }
    EXPECT_EQ(naive::entriesOf(text), entriesOf(file(text)));
}

TEST(Configuration, IsAsItWasWhenMemoryRunsOutAndAnswersNothingAfterAFailure)
{
    const std::string value(100, 'v');
    Configuration configuration;
    EXPECT_TRUE(configuration.readCfgFile(file("b=1")));
    Configuration other(configuration);
    const std::string next = std::string(99, '/') + file("b=2 a=" + value + " c=3"); // a longer path, kept last
    allocations::failEach([&] { configuration.readCfgFile(next); }, [&] { EXPECT_EQ("- 1", answers(configuration)); });
    EXPECT_EQ(value + " 2", answers(configuration));

    std::string answer = "preset";
    allocations::failEach([&] { configuration.getOption("a", answer); }, [&] { EXPECT_EQ("preset", answer); });
    allocations::failEach([&] { other = configuration; }, [&] { EXPECT_EQ("- 1", answers(other)); });
    EXPECT_EQ(value + " 2", answers(other));
    EXPECT_FALSE(other.readCfgFile("/proc/self/nothing-of-this-name"));
    EXPECT_EQ("- -", answers(other));
    allocations::failEach([&] { other = configuration; }, [&] { EXPECT_FALSE(other.isValid()); });
    EXPECT_FALSE((configuration = Configuration()).isValid());
}

// The text; its levels, or the piece that cannot be read; and errno, which was ENOENT.
TEST(Version, ReadsALevelFromEachPieceOrNamesTheOneThatItCannotRead)
{
    const int noDigits = (errno = 0, std::strtol("", nullptr, 10), errno); // 0, or EINVAL with musl
    const std::tuple<std::string, std::string, int> rows[] = {
        {"", "{}", ENOENT},
        {" 010.\t2.3 .\v\n4.+1.1-2.-3.1,5.6\0007.8\xe4.9\xff"s, "{ 10, 2, 3, 4, 1, 1, -3, 1, 6, 8, 9 }", 0},
        {".1. .2.+-2.0.", noDigits != 0 ? "" : "{ 0, 1, 0, 2, 0, 0 }", noDigits},
        {"01.010.00000000000003.2147483647.-2147483648.2", "{ 1, 10, 3, 2147483647, -2147483648, 2 }", 0},
        {"v1", "v1", ENOENT},
        {"1.2B.3", "2B", 0},
        {"-2147483649", "-2147483649", ERANGE},
        {"1.2147483648", "2147483648", ERANGE},
        {"9999999999999999999.x", "9999999999999999999", ERANGE}};
    for (const auto& [text, result, error] : rows) {
        errno = ENOENT;
        try {
            EXPECT_EQ(result, testing::PrintToString(Version(text).getVersionLevels())) << text;
        } catch (const std::runtime_error& failure) {
            // NOLINTNEXTLINE(performance*): a test need not be quick
            EXPECT_EQ("Could not convert " + text + " to a version. The version level \"" + result +
                          "\" cannot be converted to a number" + (error > ENOENT ? "" : ", as it contains letters") +
                          ". Error message: " + strerror(error),
                      failure.what());
        }
        EXPECT_EQ(error, errno) << text;
    }
    allocations::failEach([] { Version("1.2.00000000000000000000000000000003"); }, [] {});
}

// All of up to four levels from 0 to 2, beside the levels as a text that goes on with zeros.
TEST(Version, ComparesEveryPairInAllSixWays)
{
    std::vector<std::pair<std::string, Version>> versions;
    forEverySequence("012"s, 4, [&](const std::string& levels) {
        versions.emplace_back((levels + "0000").substr(0, 4), std::regex_replace(levels, std::regex("."), "$&."));
    });
    for (const auto& [i, a] : versions) {
        for (const auto& [j, b] : versions) {
            EXPECT_EQ((std::vector<bool>{i == j, i != j, i<j, i> j, i <= j, i >= j}),
                      (std::vector<bool>{a == b, a != b, a<b, a> b, a <= b, a >= b}))
                << a << " and " << b;
        }
    }
    EXPECT_TRUE(Version("-2") < Version("2147483647.9") && Version("2147483647.9") < Version("2147483647.10"));
    EXPECT_TRUE(Version("1") < Version("1.-1") && Version("1.-1") < Version("1.0")); // although 1 and 1.0 are equal
}

TEST(Version, WritesItsLevelsAsTheStreamWritesNumbers)
{
    std::ostringstream stream;
    for (const Version& version : {Version("1.10.31.0"), Version(""), Version(0), Version(1020304050), Version(-15)}) {
        stream << std::setfill('*') << std::setw(4) << std::hex << std::uppercase << version << ' ';
    }
    EXPECT_EQ("***1.A.1F.0 *** ***0 ***1.0.2.0.3.0.4.0.5.0 FFFFFFFB ", stream.str());
}

TEST(SystemException, JoinsTheContextAndTheSystemsWords)
{
    const std::string denied = strerror(EACCES), odd = strerror(987654321);
    errno = EACCES;
    SystemException exception("open");
    EXPECT_EQ(": " + denied, SystemException("").what());
    EXPECT_EQ(denied, SystemException(nullptr).what());
    EXPECT_EQ("odd: " + odd, SystemException("odd", 987654321).what());
    EXPECT_EQ(EACCES, errno); // which some libcs set where a code has no text
    allocations::failEach([&] { exception.resetContext("a context too long to be kept inside the string itself"); },
                          [&] { EXPECT_EQ("open: " + denied, exception.what()); });
    exception.resetContext("write");
    exception.resetContext(exception.what());
    EXPECT_EQ("write: " + denied + ": " + denied, exception.what());
    exception.resetContext(nullptr);
    EXPECT_EQ(denied, exception.what());
}

TEST(Uuid, IsNewEachTime)
{
    EXPECT_NE(generateUuid(), generateUuid()); // its form is seen in what heartbeat prints
}

TEST(UniquePtr, DeletesWhatItOwnsWhileItStillRefersToIt)
{
    struct Owned {
        ~Owned() { deletions += owner.get() == this ? 1 : 0; }
        const brindle::UniquePtr<Owned>& owner;
        int& deletions;
    };
    int deletions = 0;
    brindle::UniquePtr<Owned> pointer(new Owned{pointer, deletions});
    pointer.reset(new Owned{pointer, deletions});
    EXPECT_EQ(1, deletions);
}
