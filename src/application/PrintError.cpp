#include "application/PrintError.hpp"

#include <cstdio>
#include <iostream>

namespace brindle {

void printError(const char* what, const char* detail)
{
    char line[256];
    std::snprintf(line, sizeof line, "%s%s\n", what, detail);
    std::cerr << line; // std::cerr flushes after each output
}

}
