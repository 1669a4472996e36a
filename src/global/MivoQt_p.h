#ifndef MIVOQT_P_H
#define MIVOQT_P_H

#include <QAtomicInt>
#include <QHash>
#include <QList>

#include <algorithm>
#include <cstddef>
#include <new>

/** @file
 * Everything in which the three generations of Qt differ as far as this library is concerned. No
 * other file asks for Qt's version.
 */

/** The current value, with acquire semantics. */
inline int mivoLoadAcquire(const QAtomicInt& value)
{
#if QT_VERSION >= 0x050000
    return value.loadAcquire();
#else
    return value;
#endif
}

/**
 * Separates @p list from its copies, so that taking something out of it allocates nothing; when
 * memory is short, throws std::bad_alloc and leaves it as it was. Qt 6 looks whether there was memory
 * only when a list grows.
 */
template <class T>
void mivoDetach(QList<T>& list)
{
    if (list.isDetached() || list.isEmpty())
        return;
    const T first(list.at(0));
    list.append(first);
    list.removeLast();
}

/**
 * Inserts into @p hash; when memory is short, throws std::bad_alloc and leaves it as it was. Qt 6
 * ends the program when an insertion finds no memory: as much as it can need is asked for before,
 * and given back for the insertion to find.
 */
template <class Key, class T>
void mivoInsert(QHash<Key, T>& hash, const Key& key, const T& value)
{
#if QT_VERSION >= 0x060000
    hash.detach();
    const std::size_t span = 128;
    const std::size_t grown
        = hash.size() < hash.capacity() ? 0 : std::max(2 * hash.bucket_count(), span);
    // Volatile, so that the compiler does not take the two calls for useless.
    void* volatile const memory
        = ::operator new((grown + span) * (sizeof(Key) + sizeof(T) + 2 * sizeof(void*)));
    ::operator delete(memory);
#endif
    hash.insert(key, value);
}

#endif
