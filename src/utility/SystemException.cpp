#include <brindle/utility/SystemException.hpp>

#include "utility/SystemErrorText.hpp"

#include <cerrno>
#include <utility>

namespace brindle::utility {

SystemException::SystemException(const char* context, int error)
    : errorText(systemErrorText(error != 0 ? error : errno))
{
    resetContext(context);
}

void SystemException::resetContext(const char* context)
{
    std::string text;
    if (context != nullptr) {
        text = context;
        text += ": ";
    }
    text += errorText;
    message = std::move(text);
}

const char* SystemException::what() const noexcept
{
    return message.c_str();
}

}
