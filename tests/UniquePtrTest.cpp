#include <brindle/UniquePtr.hpp>

#include <gtest/gtest.h>

TEST(UniquePtr, DeletesWhatItOwnsWhileItStillRefersToIt)
{
    struct Owned {
        ~Owned() { deletionsWhileOwned += owner.get() == this ? 1 : 0; }
        const brindle::UniquePtr<Owned>& owner;
        int& deletionsWhileOwned;
    };
    int deletionsWhileOwned = 0;
    brindle::UniquePtr<Owned> pointer(new Owned{pointer, deletionsWhileOwned});
    pointer.reset(new Owned{pointer, deletionsWhileOwned});
    EXPECT_EQ(1, deletionsWhileOwned);
    pointer.clean();
    EXPECT_EQ(2, deletionsWhileOwned);
    EXPECT_EQ(nullptr, pointer.get());
}
