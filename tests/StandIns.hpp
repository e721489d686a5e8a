#pragma once

// What the test programs share. Included by one source of a program only, since it replaces `operator new`.

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <utility>

constexpr unsigned SECONDS_TO_A_HANG = 5 * TIME_LIMIT_FACTOR; // a loaded machine has kept a thread waiting for 60

/// How hard to try: BRINDLE_STRESS_CHILDREN, or 100 if that is not set. An odd number: to try nothing would prove nothing.
inline unsigned stressChildren()
{
    const char* wanted = std::getenv("BRINDLE_STRESS_CHILDREN");
    return wanted != nullptr ? static_cast<unsigned>(std::stoul(wanted)) | 1U : 100;
}

/// The function that a stand-in of the same name hides: the sanitizer's wrapper, if there is one, or the system's.
#define REAL_CALL(name) reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name))

/// What `operator new` does in a test program; each thread has its own.
namespace allocations {

inline thread_local int untilFailure = 0;    // 1: the next one fails; 0: none does
inline thread_local std::size_t largest = 0; // that was asked for, in bytes

/// Fails the first allocation that `operation` makes, then the second, and so on until it gets through. Each time it
/// must report that to its caller; `afterFailure` checks what it left behind. What it leaked, a sanitizer tells.
template <typename Operation, typename Check>
void failEach(Operation operation, Check afterFailure)
{
    for (int nth = 1;; ++nth) {
        untilFailure = nth;
        try {
            operation();
            EXPECT_TRUE(std::exchange(untilFailure, 0) > 0 && nth > 1) << "allocation " << nth;
            return;
        } catch (const std::bad_alloc&) {
            afterFailure();
        }
    }
}

}

// Memory comes from the `new` that this hides, so `delete` needs no stand-in.
// NOLINTNEXTLINE(misc-definitions-in-headers,misc-new-delete-overloads): one source of a program includes this
void* operator new(std::size_t size)
{
    const char* const name = sizeof size == sizeof(long long) ? "_Znwm" : "_Znwj";
    static const auto hidden = reinterpret_cast<void* (*)(std::size_t)>(dlsym(RTLD_NEXT, name));
    allocations::largest = std::max(allocations::largest, size);
    const bool fails = allocations::untilFailure > 0 && --allocations::untilFailure == 0;
    return fails ? throw std::bad_alloc() : hidden(size);
}

/// Calls `check` with `text` and every longer one, of up to `longest` bytes, that goes on with bytes from `alphabet`.
template <typename Check>
// NOLINTNEXTLINE(misc-no-recursion): as deep as the longest text
void forEveryText(const std::string& alphabet, std::size_t longest, const Check& check, const std::string& text = "")
{
    check(text);
    for (std::size_t next = 0; text.size() < longest && next < alphabet.size(); ++next) {
        forEveryText(alphabet, longest, check, text + alphabet[next]);
    }
}
