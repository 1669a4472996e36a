#ifndef MIVOBUDDYGROUP_P_H
#define MIVOBUDDYGROUP_P_H

#include "MivoBuddyGroup.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddy_p.h"

#include <QHash>
#include <QList>
#include <QMutex>

#include <memory>

class MivoBuddyIndex;

/**
 * The kind record of a group. A host that changes the lists itself holds the lock while it does,
 * sets the members' back-links, and makes sure that nobody looks something up meanwhile. While it
 * holds the lock it must not call what takes a container's lock, such as addBuddy(), of any
 * container.
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

    QMutex childrenMutex; ///< of MivoBuddyContainer, as the index is
    std::unique_ptr<MivoBuddyIndex> index;
};

#endif
