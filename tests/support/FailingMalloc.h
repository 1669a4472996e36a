#ifndef FAILINGMALLOC_H
#define FAILINGMALLOC_H

#include <cstddef>
#include <cstdlib>

/** @file
 * Replaces the allocation functions of the whole program by ones that can be made to fail, and so
 * also those of Qt's containers and of the operators new. To be included by one source of a test
 * program. A sanitizer has allocation functions of its own, which stay.
 */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define FAILING_MALLOC 0
#else
#define FAILING_MALLOC 1
#endif

// NOLINTBEGIN(misc-definitions-in-headers,bugprone-reserved-identifier): see above

namespace failingMalloc {

/** Succeeding allocations of this thread before the one that fails; -1: none fails. */
inline thread_local long untilFailure = -1;

inline bool fails()
{
    return untilFailure >= 0 && untilFailure-- == 0;
}

} // namespace failingMalloc

#if FAILING_MALLOC
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) noexcept
{
    return failingMalloc::fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    return failingMalloc::fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    return failingMalloc::fails() ? nullptr : __libc_realloc(memory, size);
}
}
#endif

// NOLINTEND(misc-definitions-in-headers,bugprone-reserved-identifier)

/** Runs @p piece with its allocation number @p n, counted from 0, failing; false if it threw. */
template <class Piece>
bool runsWithFailingAllocation(long n, Piece piece)
{
    failingMalloc::untilFailure = n;
    try {
        piece();
    } catch (...) {
        failingMalloc::untilFailure = -1;
        return false;
    }
    failingMalloc::untilFailure = -1;
    return true;
}

#endif
