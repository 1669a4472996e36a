#ifndef MIVOSHARED_P_H
#define MIVOSHARED_P_H

#include <QAtomicInt>

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
    if (record && !record->ref.deref())
        delete record;
}

#endif
