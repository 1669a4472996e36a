#ifndef SHORTMEMORY_H
#define SHORTMEMORY_H

#include <QtGlobal>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

/** @file
 * Replaces the allocation functions of the whole program, Qt included, by ones that can be made to
 * fail. To be included by one source of a test program.
 */

// NOLINTBEGIN(misc-definitions-in-headers): see above
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's and the sanitizer's

#ifdef __SANITIZE_ADDRESS__
#define SHORTMEMORY_SYSTEM(function) __interceptor_##function
#else
#define SHORTMEMORY_SYSTEM(function) __libc_##function
#endif

extern "C" {
void* SHORTMEMORY_SYSTEM(malloc)(std::size_t);
void* SHORTMEMORY_SYSTEM(calloc)(std::size_t, std::size_t);
void* SHORTMEMORY_SYSTEM(realloc)(void*, std::size_t);
void SHORTMEMORY_SYSTEM(free)(void*);
}

/** Memory is short in this thread while one of these lives. They do not nest. */
class ShortMemory
{
public:
    enum Form {
        NewFails, ///< operator new, once
        NewFailsOn, ///< operator new, from then on
        AllFails, ///< every allocation, once
        AllFailsOn, ///< every allocation, from then on
        Exhausted ///< no more than a number of bytes are to be had
    };

    /** @p amount: how many allocations succeed before the first that fails, or the bytes. */
    ShortMemory(Form shortForm, qint64 amount)
        : form(shortForm)
        , left(amount)
    {
        current() = this;
    }
    ~ShortMemory() { current() = nullptr; }

    /** Whether an allocation has failed. */
    bool hasFailed() const { return failed; }

    /** The bytes that this thread has asked for so far, and may have given back. */
    static qint64& bytesAskedFor()
    {
        static thread_local qint64 bytes = 0;
        return bytes;
    }

    static bool mayAllocate(std::size_t size, bool byNew)
    {
        bytesAskedFor() += qint64(size);
        return !current() || current()->allows(size, byNew);
    }
    static void* allocated(void* memory)
    {
        if (current() && current()->form == Exhausted && memory)
            current()->left -= qint64(malloc_usable_size(memory));
        return memory;
    }
    static void released(void* memory)
    {
        if (current() && current()->form == Exhausted && memory)
            current()->left += qint64(malloc_usable_size(memory));
    }

private:
    Q_DISABLE_COPY(ShortMemory)

    static ShortMemory*& current()
    {
        static thread_local ShortMemory* one = nullptr;
        return one;
    }

    bool allows(std::size_t size, bool byNew)
    {
        if (form == Exhausted) {
            // What the allocator may round up to.
            failed = failed || left < qint64(size) + 32;
            return left >= qint64(size) + 32;
        }
        if (!byNew && (form == NewFails || form == NewFailsOn))
            return true;
        if (left > 0) {
            --left;
            return true;
        }
        if (failed && (form == NewFails || form == AllFails))
            return true;
        failed = true;
        return false;
    }

    const Form form;
    qint64 left;
    bool failed = false;
};

extern "C" {

void* malloc(std::size_t size)
{
    return ShortMemory::mayAllocate(size, false)
        ? ShortMemory::allocated(SHORTMEMORY_SYSTEM(malloc)(size))
        : nullptr;
}

void* calloc(std::size_t count, std::size_t size)
{
    return ShortMemory::mayAllocate(count * size, false)
        ? ShortMemory::allocated(SHORTMEMORY_SYSTEM(calloc)(count, size))
        : nullptr;
}

void* realloc(void* memory, std::size_t size)
{
    if (!ShortMemory::mayAllocate(size, false))
        return nullptr;
    ShortMemory::released(memory);
    return ShortMemory::allocated(SHORTMEMORY_SYSTEM(realloc)(memory, size));
}

void free(void* memory)
{
    ShortMemory::released(memory);
    SHORTMEMORY_SYSTEM(free)(memory);
}

} // extern "C"

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return ShortMemory::mayAllocate(size, true)
        ? ShortMemory::allocated(SHORTMEMORY_SYSTEM(malloc)(size ? size : 1))
        : nullptr;
}

void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept
{
    free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    free(memory);
}

void operator delete[](void* memory) noexcept
{
    free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    free(memory);
}

#undef SHORTMEMORY_SYSTEM

// NOLINTEND(bugprone-reserved-identifier)
// NOLINTEND(misc-definitions-in-headers)

#endif
