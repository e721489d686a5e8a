#include <brindle/utility/Uuid.hpp>

#include <gtest/gtest.h>

TEST(Uuid, IsNewEachTime)
{
    const std::string uuid = brindle::utility::generateUuid();
    EXPECT_EQ(36U, uuid.size());
    EXPECT_NE(uuid, brindle::utility::generateUuid());
}
