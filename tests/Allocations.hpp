#pragma once

#include <gtest/gtest.h>
#include <new>

/// What `operator new` does in a test program; each thread has its own.
namespace allocations {

inline thread_local int untilFailure = 0; // 1: the next one fails; 0: none does
inline thread_local int alive = 0;

/// Fails the first allocation that `operation` makes, then the second, and so on until it gets through. Each time it
/// must report that to its caller and have released what it had made; `afterFailure` checks what it left behind.
template <typename Operation, typename Check>
void failEach(Operation operation, Check afterFailure)
{
    int failures = 0;
    for (bool failed = true; failed; failures += failed ? 1 : 0) {
        bool thrown = false;
        const int before = alive;
        untilFailure = failures + 1;
        try {
            operation();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        failed = untilFailure == 0;
        untilFailure = 0;
        ASSERT_EQ(failed, thrown) << "allocation " << failures + 1;
        if (failed) {
            ASSERT_EQ(before, alive) << "allocation " << failures + 1;
            afterFailure();
        }
    }
    EXPECT_GT(failures, 0);
}

}
