#pragma once

namespace brindle {

/// Writes one line to standard error: @p what is wrong, then @p detail, the text of the system or of APR.
///
/// The line is one write, so the lines of several threads do not mix. Nothing is allocated. The line holds 255 bytes,
/// more than any text of the library, the system or APR.
void printError(const char* what, const char* detail = "");

}
