#include "Allocations.hpp"

#include <cstdlib>

void* operator new(std::size_t size)
{
    const bool fails = allocations::untilFailure > 0 && --allocations::untilFailure == 0;
    void* const memory = fails ? nullptr : std::malloc(size);
    allocations::alive += memory != nullptr ? 1 : 0;
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    allocations::alive -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
