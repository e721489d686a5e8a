#pragma once

#include <cstdlib>
#include <string>

/// A process that takes longer hangs. A loaded machine has kept a thread waiting for 60 s.
constexpr unsigned SECONDS_TO_A_HANG = 90 * TIME_LIMIT_FACTOR;

/// How often a stress test tries: BRINDLE_STRESS_CHILDREN, or 100 if that is not set. The number is odd, so it is never 0.
inline unsigned stressChildren()
{
    const char* const wanted = std::getenv("BRINDLE_STRESS_CHILDREN");
    return wanted != nullptr ? static_cast<unsigned>(std::stoul(wanted)) | 1U : 100;
}
