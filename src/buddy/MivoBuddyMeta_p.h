#ifndef MIVOBUDDYMETA_P_H
#define MIVOBUDDYMETA_P_H

#include "MivoBuddyGroup.h"
#include "MivoBuddyIndex_p.h"
#include "MivoBuddyMeta.h"

/**
 * The kind record of a meta-contact. A host that changes the list itself holds the lock while it
 * does, and sets the members' back-links.
 */
class MIVO_DATA_EXPORT MivoBuddyMetaPrivate
{
public:
    MivoBuddyMetaPrivate();
    ~MivoBuddyMetaPrivate();

    /** The record of @p meta; null for an invalid handle and for one of another kind. */
    static MivoBuddyMetaPrivate* get(const MivoBuddy& meta)
    {
        return MivoBuddyPrivate::kindRecord<MivoBuddyMetaPrivate>(meta, MivoBuddy::Meta);
    }

    QList<MivoBuddy> children;
    MivoBuddyGroup group; ///< in a list that threads share, use MivoBuddyPrivate::backLink()
    QMutex lock; ///< guards children; not recursive
    bool expanded;

private:
    friend class MivoBuddyContainer;
    Q_DISABLE_COPY(MivoBuddyMetaPrivate)

    MivoBuddyIndex index;
};

#endif
