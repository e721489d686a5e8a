#include "application/Diagnostics.hpp"

#include <cstdio>
#include <iostream>

namespace brindle {

void printError(const char* what, const char* detail)
{
    char line[256];
    std::snprintf(line, sizeof line, "%s%s\n", what, detail);
    std::cerr << line; // which flushes each text
}

}
