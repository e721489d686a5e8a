#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>

/// How hard to try: BRINDLE_STRESS_CHILDREN, or 100 if that is not set. At least 1: to try nothing would prove nothing.
inline unsigned stressChildren()
{
    const char* wanted = std::getenv("BRINDLE_STRESS_CHILDREN");
    return wanted != nullptr ? std::max(1U, static_cast<unsigned>(std::stoul(wanted))) : 100;
}
