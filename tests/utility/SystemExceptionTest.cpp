#include "Allocations.hpp"

#include <brindle/utility/SystemException.hpp>

#include <cerrno>
#include <tuple>

using brindle::utility::SystemException;

TEST(SystemException, JoinsTheContextAndTheSystemsWords)
{
    const std::tuple<const char*, int, int, const char*> rows[] = {
        {"open", ENOENT, EACCES, "open: No such file or directory"},
        {"open", 0, EACCES, "open: Permission denied"},
        {nullptr, ENOENT, 0, "No such file or directory"},
        {"", ENOENT, 0, ": No such file or directory"},
        {"calm", 0, 0, "calm: Success"},
        {"odd", 987654321, 0, "odd: Unknown error 987654321"},
    };
    for (const auto& [context, error, errnoBefore, text] : rows) {
        errno = errnoBefore;
        EXPECT_STREQ(text, SystemException(context, error).what());
        EXPECT_EQ(errnoBefore, errno);
    }
}

TEST(SystemException, ReplacesTheContextAsAWholeOrNotAtAll)
{
    const char* context = "a context too long to be kept inside the string itself";
    allocations::failEach([&] { const SystemException exception(context, EILSEQ); }, [] {});

    SystemException exception("read", EIO);
    allocations::failEach([&] { exception.resetContext(context); },
                          [&] { EXPECT_STREQ("read: Input/output error", exception.what()); });
    exception.resetContext("write");
    EXPECT_STREQ("write: Input/output error", exception.what());
    exception.resetContext(exception.what());
    EXPECT_STREQ("write: Input/output error: Input/output error", exception.what());
    exception.resetContext(nullptr);
    EXPECT_STREQ("Input/output error", exception.what());
}
