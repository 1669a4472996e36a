#ifndef MIVOBUDDYGROUP_P_H
#define MIVOBUDDYGROUP_P_H

#include "MivoBuddyGroup.h"
#include "MivoBuddyIndex_p.h"
#include "MivoBuddyMeta.h"

/**
 * The kind record of a group. A host that changes the lists itself holds the lock while it does,
 * and sets the members' back-links.
 */
class MIVO_DATA_EXPORT MivoBuddyGroupPrivate
{
public:
    MivoBuddyGroupPrivate();
    ~MivoBuddyGroupPrivate();

    /** The record of @p group; null for an invalid handle and for one of another kind. */
    static MivoBuddyGroupPrivate* get(const MivoBuddy& group)
    {
        return MivoBuddyPrivate::kindRecord<MivoBuddyGroupPrivate>(group, MivoBuddy::Group);
    }

    QList<MivoBuddy> children;
    QHash<QString, MivoBuddyMeta> metas; ///< by name; those of addMeta() alone
    QMutex lock; ///< guards children and metas; not recursive
    bool expanded;

private:
    friend class MivoBuddyContainer;
    Q_DISABLE_COPY(MivoBuddyGroupPrivate)

    MivoBuddyIndex index;
};

#endif
