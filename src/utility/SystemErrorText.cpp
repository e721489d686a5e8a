#include "utility/SystemErrorText.hpp"

#include <cerrno>
#include <cstring>

namespace brindle::utility {

namespace {

// For the GNU form of strerror_r, which may leave the buffer unused.
[[maybe_unused]] const char* textFrom(const char* result, const char*)
{
    return result;
}

// For the POSIX form, the only one in musl. It cuts the text off where the buffer ends.
[[maybe_unused]] const char* textFrom(int, const char* buffer)
{
    return buffer;
}

}

std::string systemErrorText(int error)
{
    const int errnoBefore = errno; // some libcs set it for a code that has no text
    char buffer[80] = "";          // a POSIX strerror_r may leave it unwritten
    const char* const text = textFrom(strerror_r(error, buffer, sizeof buffer), buffer);
    errno = errnoBefore;
    return text;
}

}
