#ifndef HEAPCOUNT_H
#define HEAPCOUNT_H

#include <QtGlobal>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <malloc.h>

/** @file
 * Counts what a test program allocates, below operator new and Qt's containers. It defines malloc():
 * one source of a program includes it. Under the sanitizers, which have a malloc() of their own,
 * nothing is counted, and tests ask canCountHeap() first.
 */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)

inline bool canCountHeap()
{
    return false;
}

namespace HeapCount {
inline std::atomic<qint64> live{0};
inline std::atomic<qint64> liveBlocks{0};
inline std::atomic<qint64> peak{0};
inline std::atomic<qint64> allocations{0};
} // namespace HeapCount

#else

inline bool canCountHeap()
{
    return true;
}

namespace HeapCount {

inline std::atomic<qint64> live{0}; // bytes, without the allocator's own
inline std::atomic<qint64> liveBlocks{0};
inline std::atomic<qint64> peak{0};
inline std::atomic<qint64> allocations{0};

inline void* taken(void* memory)
{
    if (memory) {
        live += qint64(malloc_usable_size(memory));
        ++liveBlocks;
        ++allocations;
        if (live > peak)
            peak = live.load();
    }
    return memory;
}

inline void given(void* memory)
{
    if (memory) {
        live -= qint64(malloc_usable_size(memory));
        --liveBlocks;
    }
}

} // namespace HeapCount

// NOLINTBEGIN(bugprone-reserved-identifier): glibc's own functions below the ones that are replaced
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);

void* malloc(size_t size)
{
    return HeapCount::taken(__libc_malloc(size));
}

void* calloc(size_t count, size_t size)
{
    return HeapCount::taken(__libc_calloc(count, size));
}

void* realloc(void* memory, size_t size)
{
    const size_t before = memory ? malloc_usable_size(memory) : 0;
    void* const moved = __libc_realloc(memory, size);
    if (memory && (moved || size == 0)) {
        HeapCount::live -= qint64(before);
        --HeapCount::liveBlocks;
    }
    return HeapCount::taken(moved);
}

void* memalign(size_t alignment, size_t size)
{
    return HeapCount::taken(__libc_memalign(alignment, size));
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size)
{
    *memory = memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}

void free(void* memory)
{
    HeapCount::given(memory);
    __libc_free(memory);
}
}
// NOLINTEND(bugprone-reserved-identifier)

#endif

namespace HeapCount {

/** What a call has taken of the heap. */
struct Use
{
    qint64 allocations;
    qint64 peak; // most bytes at a time, above what there was before
    qint64 left; // bytes that are still there
};

/** Counts what @p call takes, in all threads. */
template <class Call>
Use of(Call call)
{
    const qint64 before = live;
    const qint64 allocationsBefore = allocations;
    peak = before;
    call();
    return Use{allocations - allocationsBefore, peak - before, live - before};
}

} // namespace HeapCount

#endif
