#include <brindle/Application.hpp>
#include <brindle/Option.hpp>

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

using brindle::Application;
using brindle::Option;

namespace {

std::string executable = "/usr/local/bin/demo"; // empty: cannot be read

}

extern "C" ssize_t readlink(const char* link, char* buffer, size_t size) noexcept
{
    EXPECT_STREQ("/proc/self/exe", link);
    errno = executable.empty() ? ENOENT : errno;
    const size_t length = executable.copy(buffer, size);
    return length == 0 ? -1 : static_cast<ssize_t>(length);
}

namespace {

constexpr const char* LOCATION_UNKNOWN =
    "Failed to determine location of this binary, is /proc mounted?\nError was: No such file or directory\n";

std::string help(bool error, int expectedResult)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(expectedResult, Application::app().printHelp(error));
    std::string texts[] = {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
    EXPECT_EQ("", texts[error ? 0 : 1]);
    return texts[error ? 1 : 0];
}

void start(std::vector<Option*>& options)
{
    int argc = 0;
    char* argv[] = {nullptr};
    ASSERT_EQ(0, Application::app().init(&argc, argv, &options));
}

}

TEST(Help, ShowsEveryOptionInOrderAsItsDescriptionIsNow)
{
    Option showHelp("help", 'h', false, "Show this help text.");
    Option retries("retries", 'r', true, "Number of retries. ");
    Option verbose("verbose", 256, false, "More output.");
    Option quiet("", 'q', false, "Quiet.");
    std::vector<Option*> options = {&showHelp, &retries, &verbose, &quiet};
    start(options);
    Application::app().setForeword("[options] file");
    Application::app().setAfterword("Files are read in order.");
    retries.setDefault("3");
    const std::string expected = R"(Usage: demo [options] file

  -h, --help     Show this help text.
  -r, --retries  Number of retries. Default: 3
  --verbose      More output.
  -q             Quiet.

Files are read in order.
)";
    EXPECT_EQ(expected, help(false, 0));
    EXPECT_EQ(expected, help(true, 2));
    EXPECT_EQ("3", retries.argument());
    EXPECT_FALSE(retries.isSet());
}

TEST(Help, KeepsItsShapeWhenTextsAreMissing)
{
    EXPECT_EQ("Usage: demo \n\n\n\n", help(false, 0)); // without a list
    EXPECT_EQ(-1, Application::app().parseArg());
    Option nameless("", 256, false, "Only\nparsed.");
    Option quiet("", 'q', false, "Quiet.");
    std::vector<Option*> options = {&nameless, &quiet};
    start(options);
    quiet.setDefault("");
    executable = "";
    EXPECT_EQ(LOCATION_UNKNOWN + std::string("Usage:  \n\n      Only\nparsed.\n  -q  Quiet.Default: \n\n\n"),
              help(true, 2));
}

TEST(Paths, CutInFrontOfTheFirstMatchingComponent)
{
    const Application& app = Application::app();
    const std::array<const char*, 3> rows[] = {
        {"/opt/demo/bin/prog", "bin", "/opt/demo/"},
        {"/opt/demo/bin/prog", "/bin/", "/opt/demo/"},
        {"/opt/demo/bin/prog", "prog", "/opt/demo/bin/"},
        {"/opt/demo/bin/prog", "opt", "/"},
        {"/opt/demo/bin/prog", "lib", "/opt/demo/bin/prog/"},
        {"/opt/demo/bin/prog", "", "/opt/demo/bin/prog/"},
        {"/opt/demo/bin/prog", "demo/bin", "/opt/demo/bin/prog/"},
        {"/opt/demo/bin/prog", "Bin", "/opt/demo/bin/prog/"},
        {"/opt/bin/demo/bin/prog", "bin", "/opt/"},
        {"/prog", "prog", "/"},
    };
    for (const auto& [path, name, prefix] : rows) {
        executable = path;
        EXPECT_EQ(path, app.appPath());
        EXPECT_EQ(prefix, app.appPrefix(name)) << name;
    }
}

TEST(Paths, AreWholeAtAnyLengthAndEmptyWhenUnknown)
{
    const Application& app = Application::app();
    for (const std::size_t length : {126U, 127U, 128U, 129U, 255U, 256U, 257U, 4095U}) {
        executable = "/" + std::string(length - 1, 'x');
        EXPECT_EQ(executable, app.appPath());
    }
    executable = "";
    testing::internal::CaptureStderr();
    EXPECT_EQ("/", app.appPrefix("bin"));
    EXPECT_EQ(LOCATION_UNKNOWN, testing::internal::GetCapturedStderr());
}
