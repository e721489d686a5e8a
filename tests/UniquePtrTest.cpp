#include <brindle/UniquePtr.hpp>

#include <gtest/gtest.h>

TEST(UniquePtr, DeletesWhatItOwnsWhileItStillRefersToIt)
{
    struct Owned {
        ~Owned() { deletions += owner.get() == this ? 1 : 0; }
        const brindle::UniquePtr<Owned>& owner;
        int& deletions;
    };
    int deletions = 0;
    brindle::UniquePtr<Owned> pointer(new Owned{pointer, deletions});
    pointer.reset(new Owned{pointer, deletions});
    EXPECT_EQ(1, deletions);
    pointer.clean();
    EXPECT_EQ(2, deletions);
    EXPECT_EQ(nullptr, pointer.get());
}
