#include "utility/SystemErrorText.hpp"

#include <cerrno>
#include <cstring>

namespace brindle::utility {

std::string systemErrorText(int error)
{
    const int errnoBefore = errno; // some libcs change it for a code without a text
    char buffer[80];
    const char* text = strerror_r(error, buffer, sizeof buffer); // the GNU form, which may leave the buffer alone
    errno = errnoBefore;
    return text;
}

}
