#pragma once

#include <gtest/gtest.h>
#include <new>

/// Every test program allocates through the `operator new` of FailingAllocator.cpp, which fails on request.
namespace allocations {

/// How many allocations of this thread there are until one fails, that one included; 0: none fails.
inline thread_local int untilFailure = 0;

/// Runs @p operation again and again, until it succeeds. The first allocation fails in the first run, the second in the second
/// run, and so on. @p operation must report each failure as `std::bad_alloc`; @p checkAfterFailure checks what it left behind.
template <typename Operation, typename Check>
void failEach(Operation operation, Check checkAfterFailure)
{
    for (int failing = 1;; ++failing) {
        try {
            untilFailure = failing;
            operation();
            EXPECT_GT(failing, 1) << "the operation allocates nothing";
            EXPECT_GT(untilFailure, 0) << "the operation hides that allocation " << failing << " failed";
            untilFailure = 0;
            return;
        } catch (const std::bad_alloc&) {
            SCOPED_TRACE("after allocation " + std::to_string(failing) + " failed");
            checkAfterFailure();
        }
    }
}

}
