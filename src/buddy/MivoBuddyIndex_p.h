#ifndef MIVOBUDDYINDEX_P_H
#define MIVOBUDDYINDEX_P_H

#include "MivoBuddy_p.h"

#include <QHash>
#include <QList>
#include <QMutex>

/**
 * Answers at once whether a list of members holds an entry, however long the list is.
 *
 * The list is the truth. The index follows it while the library changes it, and is made anew when
 * the length or one of the ends shows that somebody else has changed it. It holds no handles: what
 * it points to is compared and never looked into.
 */
class MivoBuddyIndex
{
public:
    MivoBuddyIndex();

private:
    friend class MivoBuddyContainer;
    Q_DISABLE_COPY(MivoBuddyIndex)

    /**
     * Held while the library changes the list and while it looks into it without the container's
     * own lock. Nothing else is locked meanwhile.
     */
    QMutex mutex;
    QHash<const MivoBuddyPrivate*, int> occurrences;
    int nested; ///< how many members can hold contacts in turn
    // Of the list that the index was made from.
    int length;
    const MivoBuddyPrivate* first;
    const MivoBuddyPrivate* last;
};

#endif
