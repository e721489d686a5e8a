#pragma once

#include <brindle/Export.hpp>

#include <string>

namespace brindle::utility {

/// A new UUID as text: 36 characters, hexadecimal digits in groups of 8, 4, 4, 4 and 12 with hyphens between.
///
/// - Threads: any. Not in a forked child of a program whose other threads do it too: it may hang there (Debian 12).
/// - Errors: only `std::bad_alloc`.
/// - Kind: what libuuid's `uuid_generate` makes, from random numbers if the system has good ones, else from time
///   and network address. The case of the letters is libuuid's choice too: compare without regard to it.
///
/// @code
/// std::cout << "run " << generateUuid() << std::endl;    // run 1b4e28ba-2fa1-41d2-883f-0016d3cca427
/// @endcode
BRINDLE_EXPORT std::string generateUuid();

}
