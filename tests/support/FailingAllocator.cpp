#include "support/FailingAllocator.hpp"

#include "support/InterposedCall.hpp"

// The real function allocates, so that its own `operator delete` can release the memory, and sanitizers watch both.
// NOLINTNEXTLINE(misc-new-delete-overloads)
void* operator new(std::size_t size)
{
    const char* const name = sizeof size == sizeof(long long) ? "_Znwm" : "_Znwj"; // as compilers mangle this function
    static const auto realNew = reinterpret_cast<void* (*)(std::size_t)>(dlsym(RTLD_NEXT, name));
    --allocations::untilFailure;
    if (allocations::untilFailure == 0) {
        throw std::bad_alloc();
    }
    return realNew(size);
}
