// The library calls the read() of this program in place of the system's.

#include "support/EverySequence.hpp"
#include "support/FailingAllocator.hpp"
#include "support/InterposedCall.hpp"
#include "support/NaiveTwins.hpp"

#include <brindle/Configuration.hpp>

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <locale>
#include <unistd.h>

using namespace std::string_literals;
using Entries = std::map<std::string, std::string>;

namespace {

// Set by a test.
int readsUntilFailure = 0; // 1: the next read() fails; none does at 0 or less
int errnoOfFailedRead = 0;

// The path of a file that holds `content` until the next call.
std::string fileWith(const std::string& content)
{
    static const std::string path = "/proc/self/fd/" + std::to_string(fileno(std::tmpfile()));
    std::ofstream(path) << content;
    return path;
}

struct Configuration : brindle::Configuration {
    using brindle::Configuration::entries;
    bool parseConfig(std::string path) override
    {
        return path != "refused" && brindle::Configuration::parseConfig(path);
    }
};

// What a look-up leaves in a value that was preset with "default".
std::string valueOf(const std::string& key, const Configuration& configuration)
{
    std::string value = "default";
    const bool found = configuration.getOption(key, value);
    EXPECT_EQ(found, value != "default");
    return value;
}

}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD)) << "a program that is started now inherits the file";
    --readsUntilFailure;
    errno = errnoOfFailedRead;
    return readsUntilFailure == 0 ? -1 : REAL_CALL(read)(descriptor, buffer, std::min<size_t>(size, 1000));
}

TEST(Configuration, ReadsEveryShortFileAsItsNaiveTwinDoesAndClosesIt)
{
    Configuration configuration; // for all files, so that an entry of an earlier file would show
    configuration.readCfgFile(fileWith("x=1"));
    const int unused = dup(0);
    close(unused);
    forEverySequence("a= \n"s, 5, [&](const std::string& content) {
        ASSERT_TRUE(configuration.readCfgFile(fileWith(content)));
        ASSERT_EQ(naive::entriesOf(content), configuration.entries) << testing::PrintToString(content);
    });
    EXPECT_EQ(unused, dup(0)) << "a file is still open";
}

TEST(Configuration, ReadsALargeFileAlsoWhenASignalComes)
{
    std::string content;                           // keys come again, and some are too long to be sorted
    for (unsigned word = 0; word < 1024; ++word) { // at 1024 a vector is full, and ends where its memory does
        content += std::string(word % 97, 'a') + "=" + std::to_string(word) + " ";
    }
    Configuration configuration;
    readsUntilFailure = 2;
    errnoOfFailedRead = EINTR;
    EXPECT_TRUE(configuration.readCfgFile(fileWith(content)));
    EXPECT_EQ(naive::entriesOf(content), configuration.entries);
}

TEST(Configuration, EndsAtAReadErrorWithoutTheLastWord)
{
    Configuration configuration;
    readsUntilFailure = 2;
    errnoOfFailedRead = EIO;
    EXPECT_TRUE(configuration.readCfgFile(fileWith("a=1 b=2")));
    EXPECT_EQ((Entries{{"a", "1"}}), configuration.entries) << "the error may have cut off the last word";
}

TEST(Configuration, SplitsWordsAtTheSpaceOfTheGlobalLocale)
{
    static const std::ctype_base::mask onlyByte1[std::ctype<char>::table_size] = {{}, std::ctype_base::space};
    std::locale::global(std::locale(std::locale(), new std::ctype<char>(onlyByte1)));
    Configuration configuration;
    configuration.readCfgFile(fileWith("a=1 b=2\1c=3"));
    EXPECT_EQ((Entries{{"a", "1 b=2"}, {"c", "3"}}), configuration.entries);
}

TEST(Configuration, AnswersOnlyWhereTheLastReadSucceeded)
{
    Configuration configuration;
    EXPECT_FALSE(configuration.isValid());
    EXPECT_TRUE(configuration.readCfgFile(fileWith("b=1")) && configuration.isValid());
    EXPECT_EQ("1", valueOf("b", configuration));
    EXPECT_EQ("default", valueOf("a", configuration));
    for (const char* const path : {"/no/such/file", "refused"}) { // the derived class refuses the second
        EXPECT_FALSE(configuration.readCfgFile(path) || configuration.isValid()) << path;
        EXPECT_EQ("default", valueOf("b", configuration)) << path;
    }
    EXPECT_EQ((Entries{{"b", "1"}}), configuration.entries) << "a failed read has changed the entries";
}

TEST(Configuration, IsAsItWasWhereMemoryRunsOut)
{
    Configuration source, target;
    source.readCfgFile(fileWith("a=1"));
    target = source;
    const std::string value(100, 'v'); // which needs an allocation, as the path does
    const std::string path = std::string(100, '/') + fileWith("a=2 b=" + value);
    allocations::failEach([&] { source.readCfgFile(path); }, [&] { EXPECT_EQ("1", valueOf("a", source)); });
    allocations::failEach([&] { target = source; }, [&] { EXPECT_EQ("1", valueOf("a", target)); });
    EXPECT_EQ(value, valueOf("b", target));
    target = Configuration();
    EXPECT_FALSE(target.isValid());
}
