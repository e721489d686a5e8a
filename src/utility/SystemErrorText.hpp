#pragma once

#include <string>

namespace brindle::utility {

/// The system's text for an `errno` code. Unlike strerror(), it shares no buffer between threads with any libc.
std::string systemErrorText(int error);

}
