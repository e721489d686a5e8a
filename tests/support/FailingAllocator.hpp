#pragma once

#include <gtest/gtest.h>
#include <new>

/// Every test program allocates through the `operator new` of FailingAllocator.cpp, which fails on request.
namespace allocations {

/// The allocation of this thread that fails: 1 is the next one. None fails if this is 0 or less.
inline thread_local int untilFailure = 0;

/// Runs @p operation again and again, until it succeeds. The first allocation fails in the first run, the second in the second
/// run, and so on. @p operation must report each failure as `std::bad_alloc`; @p checkAfterFailure checks what it left behind.
template <typename Operation, typename Check>
void failEach(Operation operation, Check checkAfterFailure)
{
    for (int failing = 1;; ++failing) {
        untilFailure = failing;
        try {
            operation();
            EXPECT_GT(untilFailure, 0) << "the operation hides that allocation " << failing << " failed";
            EXPECT_GT(failing, 1) << "the operation allocates nothing";
            untilFailure = 0;
            return;
        } catch (const std::bad_alloc&) {
            checkAfterFailure();
        }
    }
}

}
