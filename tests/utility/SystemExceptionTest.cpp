#include "support/FailingAllocator.hpp"

#include <brindle/utility/SystemException.hpp>

#include <cstring>

using brindle::utility::SystemException;

TEST(SystemException, JoinsTheContextAndTheSystemsWords)
{
    const std::string denied = strerror(EACCES), unknown = strerror(987654321); // each C library has its own words
    errno = EACCES;
    EXPECT_EQ("open: " + unknown, SystemException("open", 987654321).what()) << "a code is given";
    EXPECT_EQ(EACCES, errno) << "which some C libraries set where a code has no words";
    EXPECT_EQ(": " + denied, SystemException("").what()) << "no code is given, so errno counts";
    EXPECT_EQ(denied, SystemException(nullptr).what()) << "no context";
}

TEST(SystemException, ReplacesItsContextOrKeepsItWithoutMemory)
{
    const std::string denied = strerror(EACCES);
    SystemException exception("open", EACCES);
    allocations::failEach([&] { exception.resetContext("a context too long to be kept inside the string itself"); },
                          [&] { EXPECT_EQ("open: " + denied, exception.what()); });
    exception.resetContext("write");
    exception.resetContext(exception.what());
    EXPECT_EQ("write: " + denied + ": " + denied, exception.what());
    exception.resetContext(nullptr);
    EXPECT_EQ(denied, exception.what());
}
