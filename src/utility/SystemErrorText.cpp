#include "utility/SystemErrorText.hpp"

#include <cstring>

namespace brindle::utility {

std::string systemErrorText(int error)
{
    char buffer[80];
    const char* text = strerror_r(error, buffer, sizeof buffer); // the GNU form, which may leave the buffer alone
    return text;
}

}
