#pragma once

#include <brindle/Export.hpp>

#include <exception>
#include <string>

namespace brindle::utility {

/// An exception for a failed system call: what the program attempted, and the system's text for the error.
///
/// @code
/// const int descriptor = open("/etc/pump.conf", O_RDONLY);
/// if (descriptor < 0) {
///     throw SystemException("open /etc/pump.conf", errno);
/// }                                              // open /etc/pump.conf: No such file or directory
/// @endcode
///
/// - Threads: no lock. Several threads may make objects at once.
/// - Errors: `std::bad_alloc`, also from copies. If resetContext() throws, the object is unchanged.
/// - Lifetime: what() points into the object, and is valid until the object's end or the next resetContext(). A
///   moved-from object may be assigned to or destroyed; its what() is some text.
class BRINDLE_EXPORT SystemException : public std::exception {
public:
    /// @param context  what the program attempted; null for the system's text alone.
    /// @param error    an `errno` code, or 0 for the current `errno`. If building the context can change `errno`, save
    ///                 `errno` in a variable before the call: the order in which arguments are evaluated is not fixed.
    explicit SystemException(const char* context, int error = 0);

    /// Replaces the context and keeps the system's text. @p context may be null, and may be what() itself.
    void resetContext(const char* context);

    /// The context, ": " and the system's text; without a context, the system's text alone.
    const char* what() const noexcept override;

private:
    std::string message;
    std::string errorText;
};

}
