#pragma once

#include <cstdlib>
#include <string>

/// How hard to try: BRINDLE_STRESS_CHILDREN, or 100 if that is not set.
inline unsigned stressChildren()
{
    const char* wanted = std::getenv("BRINDLE_STRESS_CHILDREN");
    return wanted != nullptr ? static_cast<unsigned>(std::stoul(wanted)) : 100;
}
