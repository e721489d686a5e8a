#include <brindle/UniquePtr.hpp>

#include <gtest/gtest.h>
#include <string>

using brindle::UniquePtr;

namespace {

struct Owned {
    ~Owned() { log += owner.get() == this ? name : '?'; } // its owner still refers to it
    std::string& log;
    const UniquePtr<Owned>& owner;
    char name;
};

}

TEST(UniquePtr, DeletesWhatItOwnsOnceAndBeforeItTakesAnother)
{
    std::string log;
    {
        UniquePtr<Owned> pointer(nullptr);
        pointer.reset(new Owned{log, pointer, 'a'});
        pointer.reset(new Owned{log, pointer, 'b'});
        EXPECT_EQ("a", log);
        pointer.clean();
        pointer.clean();
        EXPECT_FALSE(pointer);
        pointer.reset(new Owned{log, pointer, 'c'});
    }
    EXPECT_EQ("abc", log);
}
