#include "application/Diagnostics.hpp"

#include <iostream>

namespace brindle {

void complain(const char* what, const char* detail)
{
    std::cerr << what << detail << std::endl;
}

}
