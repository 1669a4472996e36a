#ifndef MIVOBUDDYCONTAINER_P_H
#define MIVOBUDDYCONTAINER_P_H

#include "MivoBuddyContact.h"

#include <QHash>
#include <QList>
#include <QMutex>

#include <memory>

class MivoBuddyIndex;
class MivoBuddyMeta;

/**
 * What a group and a meta-contact have in common: an ordered list of members with a lock of its
 * own. It works on the container whose handle it was given, and which must outlive it.
 *
 * There are two mutexes over the list. The container's lock is held by all who change the list, and
 * by those who read it and must wait for them. The children's mutex is held for a moment by all who
 * change the list and by those who look something up without waiting for the lock.
 *
 * Order of locks: the mutex of all moves, the new container's lock, the old one's, the children's
 * mutexes (a group's before a meta-contact's), an entry's link lock. Only what moves an entry takes
 * more than one container's lock, or the children's mutexes of two of a kind.
 *
 * Operations that change something may throw std::bad_alloc, and have then changed nothing.
 */
class MivoBuddyContainer
{
public:
    /** Invalid when @p container is neither a group nor a meta-contact. */
    explicit MivoBuddyContainer(const MivoBuddy& container);

    bool isValid() const { return children; }

    // Under the container's lock.
    bool add(const MivoBuddy& entry);
    int remove(const MivoBuddy& entry);
    MivoBuddy takeAt(int i);
    MivoBuddy at(int i) const;
    int count() const;
    QList<MivoBuddy> members() const;
    void sort();
    /**
     * Takes all members out, and clears the back-links that lead here. Those of a group's
     * meta-contacts go as well, unless the meta-contact belongs to another group, and so do the
     * group's names, which are in @p metas. Takes no memory.
     */
    void clear(QHash<QString, MivoBuddyMeta>* metas);
    /** Appends @p meta, which is new, under a name that is new in @p metas. */
    void addNewMeta(QHash<QString, MivoBuddyMeta>& metas, const MivoBuddyMeta& meta);

    // Without the container's lock.
    bool contains(const MivoBuddy& entry) const;
    bool containsContact(const MivoBuddyContact& contact) const;
    bool containsMeta(const QHash<QString, MivoBuddyMeta>& metas, const QString& name) const;

private:
    Q_DISABLE_COPY(MivoBuddyContainer)

    /** What was in a container, to be released when no lock is held. */
    struct Taken
    {
        QList<MivoBuddy> members;
        QHash<QString, MivoBuddyMeta> metas;
    };

    bool accepts(MivoBuddy::Type type) const;
    bool addUnlessElsewhere(const MivoBuddy& entry, bool* isElsewhere, MivoBuddy* previousLink);
    bool move(const MivoBuddy& entry, MivoBuddy* oldParent);
    void takeAll(const MivoBuddy& container, QHash<QString, MivoBuddyMeta>* metas, Taken& taken);
    void clearUnlessInGroup();

    // Under the children's mutex.
    int removeAll(const MivoBuddyPrivate* record, int i);
    MivoBuddyIndex* indexOfLongList() const;
    int find(const MivoBuddyPrivate* record) const;
    void removeAt(int i);
    template <class Accepts>
    bool anyNested(Accepts accepts) const;

    const MivoBuddy* self;
    QList<MivoBuddy>* children;
    QMutex* lock;
    QMutex* childrenMutex;
    std::unique_ptr<MivoBuddyIndex>* index;
};

#endif
