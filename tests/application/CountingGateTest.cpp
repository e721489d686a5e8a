// The gate alone. The main thread and another one enter and leave it at the same time.

#include "application/CountingGate.hpp"

#include <gtest/gtest.h>
#include <thread>

using brindle::CountingGate;

TEST(CountingGate, CountsUsersInside)
{
    CountingGate gate;
    for (unsigned user = 1; user <= 100'000; ++user) {
        ASSERT_TRUE(gate.enter());
        ASSERT_EQ(user, gate.inside());
    }
}

TEST(CountingGate, AdmitsUsersUntilItIsClosed)
{
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        CountingGate gate;
        bool recordExists = true; // ThreadSanitizer notices if the gate does not order its uses
        std::atomic<bool> gateMayBeClosed = false, userIsRefused = false;
        std::atomic<int> uses = 0;
        std::thread user([&] {
            while (gate.enter()) {
                ASSERT_TRUE(recordExists) << "a user is inside a gate that its owner has seen closed and empty";
                ++uses;
                gate.leave();
            }
            EXPECT_TRUE(gateMayBeClosed) << "an open gate refuses a user";
            userIsRefused = true;
        });
        while (uses < 1000 && !HasFailure()) { // both threads change the gate's state
            EXPECT_TRUE(CountingGate::Pass(gate)) << "an open gate refuses its owner";
            std::this_thread::yield();
        }
        gateMayBeClosed = true;
        gate.close();
        while (gate.inside() > 0 && !userIsRefused) {
            std::this_thread::yield();
        }
        EXPECT_EQ(0U, gate.inside()) << "the gate does not count all users that come and go";
        recordExists = false;
        user.join();
    }
}
