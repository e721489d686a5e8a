#pragma once

namespace brindle {

/// Writes one line to standard error: what is wrong, and what the system or APR says about it.
void complain(const char* what, const char* detail = "");

}
