#include <brindle/Application.hpp>

#include "application/PrintError.hpp"
#include "utility/SystemErrorText.hpp"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace brindle {

namespace {

constexpr std::size_t USUAL_PATH_SIZE = 128;

ssize_t readOwnLink(std::string& target)
{
    return readlink("/proc/self/exe", target.data(), target.size());
}

std::string reportUnknownLocation(int error)
{
    printError("Failed to determine location of this binary, is /proc mounted?");
    printError("Error was: ", utility::systemErrorText(error).c_str());
    return "";
}

}

std::string Application::appPath() const
{
    std::string path(USUAL_PATH_SIZE, '\0');
    errno = 0;
    ssize_t length = readOwnLink(path);
    while (length == static_cast<ssize_t>(path.size())) { // full, so the path may be cut off
        path.resize(2 * path.size());
        length = readOwnLink(path);
    }
    if (length == -1) {
        return reportUnknownLocation(errno);
    }
    path.resize(static_cast<std::size_t>(length));
    return path;
}

std::string Application::appPrefix(std::string name) const
{
    name.resize(static_cast<std::size_t>(std::remove(name.begin(), name.end(), '/') - name.begin()));
    const std::string ownPath = appPath();
    const std::string_view path = ownPath;
    std::string prefix = "/";
    for (std::size_t slash = 0; slash < path.size();) {
        const std::size_t nextSlash = std::min(path.find('/', slash + 1), path.size());
        const std::string_view component = path.substr(slash + 1, nextSlash - slash - 1);
        if (component == name) {
            break;
        }
        prefix += component;
        prefix += '/';
        slash = nextSlash;
    }
    return prefix;
}

}
