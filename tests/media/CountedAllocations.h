#ifndef COUNTEDALLOCATIONS_H
#define COUNTEDALLOCATIONS_H

#include <atomic>
#include <cstdlib>
#include <new>

/** @file
 * Replaces the operators new and delete of the whole program by ones that count and can be made to
 * fail. To be included by one source of a test program.
 */

// NOLINTBEGIN(misc-definitions-in-headers): see above

/** The allocations of the program. */
namespace allocations {

std::atomic<long> liveArrays{0}; /**< From array new, not yet deleted. */
std::atomic<long> live{0}; /**< From new of either form, not yet deleted. */
thread_local long untilFailure
    = -1; /**< Succeeding allocations before the failing one; -1: none. */

inline void* allocate(std::size_t size) noexcept
{
    if (untilFailure == 0) {
        untilFailure = -1;
        return nullptr;
    }
    // More than any machine has: asked of the sanitizer's allocator it would end the program.
    if (size > (std::size_t(1) << 46))
        return nullptr;
    void* memory = std::malloc(size ? size : 1);
    if (memory) {
        ++live;
        if (untilFailure > 0)
            --untilFailure;
    }
    return memory;
}

inline void free(void* memory) noexcept
{
    if (memory)
        --live;
    std::free(memory);
}

} // namespace allocations

void* operator new(std::size_t size)
{
    if (void* memory = allocations::allocate(size))
        return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocations::allocate(size);
}

void operator delete(void* memory) noexcept
{
    allocations::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    allocations::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    allocations::free(memory);
}

void* operator new[](std::size_t size)
{
    void* memory = operator new(size);
    ++allocations::liveArrays;
    return memory;
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    void* memory = allocations::allocate(size);
    if (memory)
        ++allocations::liveArrays;
    return memory;
}

void operator delete[](void* memory) noexcept
{
    if (memory)
        --allocations::liveArrays;
    allocations::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete[](memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    operator delete[](memory);
}

// NOLINTEND(misc-definitions-in-headers)

#endif
