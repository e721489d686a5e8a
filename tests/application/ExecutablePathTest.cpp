#include "StartedApplication.hpp"

#include <cerrno>
#include <cstring>

namespace {

std::string executable; // what the link holds; if empty, it cannot be read

const char* const PREFIXES[][3] = {
    {"the first component that matches as a whole ends the prefix", "bin", "/opt/bin2/bi/"},
    {"slashes in the name do not count; the first component can match", "/o/pt//", "/"},
    {"no component matches, so the whole path is the prefix", "demo/bin", "/opt/bin2/bi/bin/demo/bin/prog/"},
};

}

ssize_t readlink(const char* /*link*/, char* buffer, size_t size) noexcept
{
    EXPECT_EQ(0, errno) << "a message would show this old errno where the call sets none";
    if (executable.empty()) {
        errno = ENOENT;
        return -1;
    }
    return static_cast<ssize_t>(executable.copy(buffer, size));
}

TEST(ExecutablePath, IsWholeAtEveryLength)
{
    for (const std::size_t length : {126U, 127U, 128U, 129U, 255U, 256U, 257U, 4095U}) {
        executable = "/" + std::string(length - 1, 'x');
        EXPECT_TRUE(app.appPath() == executable) << "appPath() is not the path of " << length << " bytes";
    }
}

TEST(ExecutablePath, IsCutInFrontOfTheNamedComponent)
{
    executable = "/opt/bin2/bi/bin/demo/bin/prog";
    for (const auto& [shows, name, prefix] : PREFIXES) {
        EXPECT_EQ(prefix, app.appPrefix(name)) << shows;
    }
}

TEST(ExecutablePath, IsEmptyAndReportedWhereTheLinkCannotBeRead)
{
    executable = "";
    errno = EIO; // from an earlier call
    EXPECT_EQ("/", app.appPrefix("bin"));
    const std::string message = "Failed to determine location of this binary, is /proc mounted?\nError was: ";
    const std::string reason = std::strerror(ENOENT);
    EXPECT_EXIT(_exit(app.appPath().empty() ? 0 : 1), testing::ExitedWithCode(0), testing::Eq(message + reason + "\n"));
}
