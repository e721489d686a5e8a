#pragma once

#include <string>

namespace brindle::utility {

/// The system's words for an `errno` code. Unlike strerror(), it shares no buffer between threads on any libc.
std::string systemErrorText(int error);

}
