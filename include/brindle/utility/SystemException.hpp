#pragma once

#include <brindle/Export.hpp>

#include <exception>
#include <string>

namespace brindle::utility {

/// A failed system call, to be thrown: what was being attempted, and why it failed in the system's words.
///
/// - Threads: objects may be made on several threads at once; one object has no lock.
/// - Errors: `std::bad_alloc`, from copies too; after a resetContext() that throws, the object is as it was.
/// - Lifetime: what() points into the object, until its end or the next resetContext(). One that was moved from may be
///   assigned to or destroyed; its what() is some text.
///
/// @code
/// const int descriptor = open("/etc/pump.conf", O_RDONLY);
/// if (descriptor < 0) {
///     throw SystemException("open /etc/pump.conf", errno);
/// }                                              // open /etc/pump.conf: No such file or directory
/// @endcode
class BRINDLE_EXPORT SystemException : public std::exception {
public:
    /// @param context  what was being attempted; null for the system's words alone.
    /// @param error    an `errno` code; 0 for the value that `errno` has now. Building a context may change `errno`,
    ///                 before or after an argument `errno` is read: keep it in a variable first.
    explicit SystemException(const char* context, int error = 0);

    /// Replaces the context; the system's words stay. @p context may be null, and may be what() itself.
    void resetContext(const char* context);

    /// The context, ": " and the system's words; without a context, the system's words alone.
    const char* what() const noexcept override;

private:
    std::string message;
    std::string errorText;
};

}
