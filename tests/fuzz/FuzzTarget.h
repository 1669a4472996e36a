#ifndef FUZZTARGET_H
#define FUZZTARGET_H

#include <atomic>
#include <cstdio>
#include <cstdlib>

/** @file
 * What the fuzzers share; one source of a program includes it. It counts the allocations of the
 * program, below operator new and Qt's containers, with and without a sanitizer.
 */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
namespace FuzzTarget {
inline std::atomic<long long> allocations{0};
}
// NOLINTNEXTLINE(bugprone-reserved-identifier,misc-definitions-in-headers): called by the sanitizers
extern "C" void __sanitizer_malloc_hook(const volatile void*, size_t)
{
    ++FuzzTarget::allocations;
}
#else
#include "HeapCount.h"
namespace FuzzTarget {
using HeapCount::allocations;
}
#endif

/** Ends the program, which a fuzzer takes for a finding, when @p condition does not hold. */
inline void require(bool condition, const char* claim)
{
    if (condition)
        return;
    std::fprintf(stderr, "does not hold: %s\n", claim);
    std::abort();
}

/** Demands that @p call allocates @p fixed times, and @p each times a byte of @p size, at most. */
template <class Call>
void requireFewAllocations(size_t size, long long fixed, long long each, Call call)
{
    const long long before = FuzzTarget::allocations;
    call();
    const long long taken = FuzzTarget::allocations - before;
    if (taken > fixed + each * static_cast<long long>(size)) {
        std::fprintf(stderr, "%lld allocations for %zu bytes\n", taken, size);
        require(false, "the allocations grow no faster than the input");
    }
}

#endif
