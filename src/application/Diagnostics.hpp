#pragma once

namespace brindle {

/// Writes one line to standard error: what is wrong, and what the system or APR says about it.
///
/// The line is one write, so lines of several threads do not mix. Nothing is allocated: there is room for 255 bytes, and
/// no text of the library, the system or APR is as long.
void printError(const char* what, const char* detail = "");

}
