#ifndef MIVOBUDDYMETA_P_H
#define MIVOBUDDYMETA_P_H

#include "MivoBuddyGroup.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddy_p.h"

#include <QList>
#include <QMutex>

#include <memory>

class MivoBuddyIndex;

/**
 * The kind record of a meta-contact. A host that changes the list itself holds the lock while it
 * does, sets the members' back-links, and makes sure that nobody looks something up meanwhile.
 * While it holds the lock it must not call what takes a container's lock, such as addBuddy(), of
 * any container.
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

    QMutex childrenMutex; ///< of MivoBuddyContainer, as the index is
    std::unique_ptr<MivoBuddyIndex> index;
};

#endif
