#pragma once

#include <brindle/Export.hpp>

#include <string>

namespace brindle::utility {

/// Returns a new UUID as text: 36 characters, hexadecimal digits in groups of 8, 4, 4, 4 and 12 with hyphens between.
///
/// @code
/// std::cout << "run " << generateUuid() << std::endl;    // run 1b4e28ba-2fa1-41d2-883f-0016d3cca427
/// @endcode
///
/// - Threads: any.
/// - Errors: only `std::bad_alloc`.
/// - Fork: not in the child of a program whose other threads call it: it may hang there
///   (docs/guides/signals-and-fork.md).
/// - Kind: libuuid's `uuid_generate` uses random numbers if the system has good ones, else time and network address.
///   libuuid also chooses the case of the letters: compare without regard to it.
BRINDLE_EXPORT std::string generateUuid();

}
