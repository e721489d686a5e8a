#pragma once

#include <gtest/gtest.h>

/// Calls @p check with every sequence of up to @p longest elements of @p alphabet, the empty sequence first, until
/// one fails. A sequence is a `std::string` or a `std::vector`.
template <typename Sequence, typename Check>
// NOLINTNEXTLINE(misc-no-recursion): as deep as the longest sequence
void forEverySequence(const Sequence& alphabet, std::size_t longest, const Check& check, const Sequence& beginning = {})
{
    check(beginning);
    for (const auto& element : alphabet) {
        if (beginning.size() < longest && !testing::Test::HasFailure()) {
            Sequence longer = beginning;
            longer.push_back(element);
            forEverySequence(alphabet, longest, check, longer);
        }
    }
}
