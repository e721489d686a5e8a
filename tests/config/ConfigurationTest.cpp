#include "Allocations.hpp"
#include "EveryText.hpp"
#include "RealCall.hpp"

#include <brindle/Configuration.hpp>

#include <cstdio>
#include <map>
#include <string>
#include <unistd.h>

using brindle::Configuration;
using namespace std::string_literals;
using Entries = std::map<std::string, std::string>;

namespace {

int readsUntilError = 0;

}

extern "C" ssize_t read(int descriptor, void* buffer, size_t size)
{
    return readsUntilError > 0 && --readsUntilError == 0 ? -1 : REAL_CALL(read)(descriptor, buffer, size);
}

namespace {

// The path of a file that holds `content` until the next call.
std::string file(const std::string& content)
{
    static const int descriptor = fileno(std::tmpfile());
    EXPECT_EQ(0, ftruncate(descriptor, 0));
    EXPECT_EQ(static_cast<ssize_t>(content.size()), pwrite(descriptor, content.data(), content.size(), 0));
    return "/proc/self/../self/fd/" + std::to_string(descriptor);
}

struct Opened final : Configuration {
    using Configuration::entries;
};

Entries entriesOf(const std::string& path)
{
    Opened configuration;
    EXPECT_TRUE(configuration.readCfgFile(path) && configuration.isValid());
    return configuration.entries;
}

// The naive twin.
Entries plainEntries(const std::string& content)
{
    Entries entries;
    std::string word;
    for (const char byte : content + " ") {
        if (byte != ' ' && byte != '\n') {
            word += byte;
            continue;
        }
        if (word.find('=') != std::string::npos) {
            entries[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
        }
        word.clear();
    }
    return entries;
}

// What a look-up gives, or "preset" if it gives nothing.
std::string valueOf(const Configuration& configuration, const std::string& key)
{
    std::string value = "preset";
    const bool found = configuration.getOption(key, value);
    EXPECT_EQ(found, value != "preset");
    return value;
}

}

TEST(Configuration, ReadsEveryShortFileAsItsFormatSays)
{
    forEveryText("a= \n", 6, [](const std::string& content) {
        ASSERT_EQ(plainEntries(content), entriesOf(file(content))) << content;
    });
}

TEST(Configuration, ReadsOddFiles)
{
    const std::string manyBytes(20'000, 'b');
    const std::pair<std::string, Entries> rows[] = {
        {"a=1\r\nb=2\r\n", {{"a", "1"}, {"b", "2"}}},
        {"a=1\vb=2\fc=3\td=4", {{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}}},
        {"a\0b=c\0d e=\0"s, {{"a\0b"s, "c\0d"s}, {"e", "\0"s}}},
        {"\xff=\x80\xa0\nZ=1", {{"Z", "1"}, {"\xff", "\x80\xa0"}}},
        {"# was rate=9 now\nrate==8", {{"rate", "=8"}}},
        {manyBytes + "=" + manyBytes, {{manyBytes, manyBytes}}},
    };
    for (const auto& [content, entries] : rows) {
        EXPECT_EQ(entries, entriesOf(file(content))) << content;
    }
    readsUntilError = 2;
    EXPECT_EQ((Entries{{"a", "1"}}), entriesOf(file("a=1 b=" + manyBytes))); // the error counts as the end
    EXPECT_EQ(Entries(), entriesOf("/")); // a directory can be opened, and then the first read fails
}

TEST(Configuration, AnswersFromTheLastReadAloneWhateverItsFormat)
{
    struct NamesOnly final : Configuration {
        bool parseConfig(std::string path) override
        {
            entries = {{path, "read"}};
            return path != "missing";
        }
    } configuration;
    EXPECT_EQ("preset", valueOf(configuration, "a"));
    EXPECT_TRUE(configuration.readCfgFile("a"));
    const NamesOnly copy(configuration);
    EXPECT_TRUE(configuration.readCfgFile("b"));
    EXPECT_EQ("preset read", valueOf(configuration, "a") + " " + valueOf(configuration, "b"));
    EXPECT_FALSE(configuration.readCfgFile("missing") || configuration.isValid());
    EXPECT_EQ("preset", valueOf(configuration, "missing"));
    EXPECT_EQ("read preset", valueOf(copy, "a") + " " + valueOf(copy, "b"));
}

TEST(Configuration, IsAsItWasWhenMemoryRunsOut)
{
    const std::string value(100, 'v');
    Configuration configuration;
    EXPECT_TRUE(configuration.readCfgFile(file("a=1")));
    const std::string next = file("b=2 a=" + value + " c=3");
    allocations::failEach(
        [&] { configuration.readCfgFile(next); },
        [&] { EXPECT_EQ("1 preset", valueOf(configuration, "a") + " " + valueOf(configuration, "b")); });
    EXPECT_EQ(value, valueOf(configuration, "a"));
    EXPECT_FALSE(Configuration(configuration).readCfgFile("/proc/self/nothing-of-this-name"));

    std::string answer = "preset";
    allocations::failEach([&] { configuration.getOption("a", answer); }, [&] { EXPECT_EQ("preset", answer); });
    allocations::failEach([&] { EXPECT_TRUE(Configuration(configuration).isValid()); }, [] {});
    Configuration other;
    allocations::failEach([&] { other = configuration; }, [&] { EXPECT_FALSE(other.isValid()); });
    EXPECT_EQ(value, valueOf(other, "a"));
}
