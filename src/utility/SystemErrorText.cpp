#include "utility/SystemErrorText.hpp"

#include <cerrno>
#include <cstring>

namespace brindle::utility {

namespace {

// strerror_r in its GNU form, which may leave the buffer alone.
[[maybe_unused]] const char* textFrom(const char* result, const char*)
{
    return result;
}

// In its POSIX form, the only one that musl has: cut off where the buffer is too small.
[[maybe_unused]] const char* textFrom(int, const char* buffer)
{
    return buffer;
}

}

std::string systemErrorText(int error)
{
    const int errnoBefore = errno; // some libcs change it for a code without a text
    char buffer[80] = "";          // a POSIX strerror_r may leave it alone
    const char* const text = textFrom(strerror_r(error, buffer, sizeof buffer), buffer);
    errno = errnoBefore;
    return text;
}

}
