#ifndef MIVOSHARED_P_H
#define MIVOSHARED_P_H

#include "MivoQt_p.h"

#include <new>
#include <vector>

/** @file
 * Sharing of private records. A record has a member `ref`, a QAtomicInt that counts the handles.
 */

/** Adds one handle to @p record; a null record is left alone. */
template <class T>
inline void tAtomicAttach(T* record)
{
    if (record)
        record->ref.ref();
}

/** Takes one handle from @p record and deletes it with the last one; a null record is left alone.
 */
template <class T>
inline void tAtomicDetach(T* record)
{
    // Nobody else can attach to a record of one handle, so that its count need not be written.
    if (record && (mivoLoadAcquire(record->ref) == 1 || !record->ref.deref()))
        delete record;
}

/**
 * Calls @p dead.destroy(), which may destroy the last handle of a record whose destructor comes
 * here again: such a value waits until the one before it is gone. So a chain of records of any
 * length is released on a stack of constant depth.
 */
template <class Dead>
[[gnu::noinline]] void mivoDestroyFlat(const Dead& dead) // destructors seldom need it
{
    static thread_local std::vector<Dead>* queue = nullptr;
    if (queue) {
        try {
            queue->push_back(dead);
        } catch (const std::bad_alloc&) {
            dead.destroy();
        }
        return;
    }
    std::vector<Dead> waiting;
    queue = &waiting;
    dead.destroy();
    while (!waiting.empty()) {
        const Dead next = waiting.back();
        waiting.pop_back();
        next.destroy();
    }
    queue = nullptr;
}

#endif
