// The gate alone, with threads that enter and leave at once.

#include "application/CountingGate.hpp"

#include <gtest/gtest.h>
#include <thread>

using brindle::CountingGate;

TEST(CountingGate, AdmitsAnyNumberOfUsers)
{
    CountingGate gate;
    for (unsigned user = 1; user <= 100'000; ++user) {
        ASSERT_TRUE(gate.enter());
        ASSERT_EQ(user, gate.inside());
    }
}

TEST(CountingGate, RefusesOnlyAfterItIsClosedAndCountsEveryUser)
{
    for (int round = 0; round < 300; ++round) {
        CountingGate gate;
        int record = 1; // what the gate protects
        std::atomic<bool> mayRefuse = false;
        std::atomic<int> passed = 0;
        const auto useUntilRefused = [&] {
            while (gate.enter()) {
                ASSERT_EQ(1, record);
                ++passed;
                gate.leave();
            }
            EXPECT_TRUE(mayRefuse);
        };
        std::thread users[] = {std::thread(useUntilRefused), std::thread(useUntilRefused)};
        while (passed < 1000) {
            std::this_thread::yield();
        }
        mayRefuse = true;
        gate.close();
        while (gate.inside() > 0) {
            std::this_thread::yield();
        }
        record = 0;
        users[0].join();
        users[1].join();
        ASSERT_EQ(0U, gate.inside()) << "round " << round;
    }
}
