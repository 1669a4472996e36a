#ifndef MIVOBUDDYCONTAINER_P_H
#define MIVOBUDDYCONTAINER_P_H

#include "MivoBuddyContact.h"

#include <QHash>
#include <QList>
#include <QMutex>

class MivoBuddyIndex;
class MivoBuddyMeta;

/**
 * What a group and a meta-contact have in common: an ordered list of members with a lock of its
 * own. Holds a handle of the container, so that it outlives every operation.
 *
 * Order of locks: the new container's, then the old one's, and the latter only if it can be had at
 * once. The index's mutex and an entry's link lock come last; nothing is locked under them.
 */
class MivoBuddyContainer
{
public:
    /** Invalid when @p container is neither a group nor a meta-contact. */
    explicit MivoBuddyContainer(const MivoBuddy& container);

    bool isValid() const;

    // Under the container's lock.
    bool add(const MivoBuddy& entry);
    int remove(const MivoBuddy& entry);
    MivoBuddy takeAt(int i);
    MivoBuddy at(int i) const;
    int count() const;
    void sort();
    /** Appends @p meta, which is new, under a name that is new in @p metas. */
    void addNewMeta(QHash<QString, MivoBuddyMeta>& metas, const MivoBuddyMeta& meta);

    // Without the container's lock.
    bool contains(const MivoBuddy& entry) const;
    bool containsContact(const MivoBuddyContact& contact) const;
    bool containsMeta(const QHash<QString, MivoBuddyMeta>& metas, const QString& name) const;

private:
    enum Outcome { Done, TryAgain };

    bool accepts(MivoBuddy::Type type) const;
    Outcome move(const MivoBuddy& entry, const MivoBuddy& oldParent);

    // Under the index's mutex.
    void refreshIndex() const;
    bool isIndexFresh() const;
    void markIndexFresh() const;
    bool holds(const MivoBuddy& entry) const;
    // Take the index's mutex.
    bool lookUp(const MivoBuddy& entry) const;
    void append(const MivoBuddy& entry);
    int removeAll(const MivoBuddy& entry);

    const MivoBuddy self;
    QList<MivoBuddy>* children;
    QMutex* lock;
    MivoBuddyIndex* index;
};

#endif
