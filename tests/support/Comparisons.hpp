#pragma once

#include <string>

/// Which comparisons of two values are true: "< <= != ", "<= == >= " or "!= >= > " where the operators agree.
template <typename T>
std::string comparisons(const T& left, const T& right)
{
    std::string result = left < right ? "< " : "";
    result += left <= right ? "<= " : "";
    result += left == right ? "== " : "";
    result += left != right ? "!= " : "";
    result += left >= right ? ">= " : "";
    result += left > right ? "> " : "";
    return result;
}
