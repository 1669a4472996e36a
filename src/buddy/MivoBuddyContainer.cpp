#include "MivoBuddyContainer_p.h"

#include "MivoBuddyGroup_p.h"
#include "MivoBuddyIndex_p.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddyMeta_p.h"

#include <QMutexLocker>

#include <algorithm>
#include <mutex>
#include <thread>

namespace {

/** Whether a member of that kind can hold contacts in turn. */
bool isNested(MivoBuddy::Type type)
{
    return type == MivoBuddy::Meta || type == MivoBuddy::Merged;
}

} // namespace

MivoBuddyIndex::MivoBuddyIndex()
    : nested(0)
    , length(0)
    , first(nullptr)
    , last(nullptr)
{
}

MivoBuddyContainer::MivoBuddyContainer(const MivoBuddy& container)
    : self(container)
    , children(nullptr)
    , lock(nullptr)
    , index(nullptr)
{
    if (MivoBuddyGroupPrivate* const group = MivoBuddyGroupPrivate::get(self)) {
        children = &group->children;
        lock = &group->lock;
        index = &group->index;
    } else if (MivoBuddyMetaPrivate* const meta = MivoBuddyMetaPrivate::get(self)) {
        children = &meta->children;
        lock = &meta->lock;
        index = &meta->index;
    }
}

bool MivoBuddyContainer::isValid() const
{
    return children;
}

bool MivoBuddyContainer::accepts(MivoBuddy::Type type) const
{
    switch (type) {
    case MivoBuddy::Invalid:
    case MivoBuddy::Group:
    case MivoBuddy::Other:
        return false;
    case MivoBuddy::Meta:
    case MivoBuddy::Temporary:
        return self.getType() == MivoBuddy::Group;
    default:
        return true;
    }
}

bool MivoBuddyContainer::add(const MivoBuddy& newMember)
{
    if (!isValid())
        return false;
    // A copy: the reference may lead into the list that the entry is about to leave.
    const MivoBuddy entry(newMember); // NOLINT(performance-unnecessary-copy-initialization)
    for (;;) {
        MivoBuddy oldParent; // released after the locks: this may be its last handle
        {
            const QMutexLocker locker(lock);
            if (!accepts(entry.getType()) || lookUp(entry))
                return false;
            MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry);
            oldParent = record->backLink();
            if (entry.getType() != MivoBuddy::Contact) {
                // Only a contact leaves the container that held it before.
                record->setBackLink(self);
                append(entry);
                return true;
            }
            if (move(entry, oldParent) == Done)
                return true;
        }
        std::this_thread::yield();
    }
}

MivoBuddyContainer::Outcome MivoBuddyContainer::move(const MivoBuddy& entry,
                                                     const MivoBuddy& oldParent)
{
    MivoBuddyContainer old(oldParent == self ? MivoBuddy() : oldParent);
    std::unique_lock<QMutex> oldLock;
    if (old.isValid()) {
        // Never waited for: another thread may be moving an entry the opposite way.
        if (!old.lock->tryLock())
            return TryAgain;
        oldLock = std::unique_lock<QMutex>(*old.lock, std::adopt_lock);
    }
    // Another thread may have moved the entry before the lock was had.
    if (!MivoBuddyPrivate::get(entry)->replaceBackLink(oldParent, self))
        return TryAgain;
    append(entry);
    if (old.isValid())
        old.removeAll(entry);
    return Done;
}

int MivoBuddyContainer::remove(const MivoBuddy& member)
{
    if (!isValid())
        return -1;
    // A copy, as in add().
    const MivoBuddy entry(member); // NOLINT(performance-unnecessary-copy-initialization)
    const QMutexLocker locker(lock);
    // A meta-contact leaves the back-link alone, on purpose.
    if (self.getType() == MivoBuddy::Group && entry.isValid())
        MivoBuddyPrivate::get(entry)->replaceBackLink(self, MivoBuddy());
    return removeAll(entry);
}

MivoBuddy MivoBuddyContainer::takeAt(int i)
{
    if (!isValid())
        return MivoBuddy();
    const QMutexLocker locker(lock);
    const QMutexLocker indexLocker(&index->mutex);
    if (i < 0 || i >= children->size())
        return MivoBuddy();
    refreshIndex();
    const MivoBuddy entry = children->takeAt(i);
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry);
    if (--index->occurrences[record] == 0)
        index->occurrences.remove(record);
    if (isNested(entry.getType()))
        --index->nested;
    markIndexFresh();
    return entry;
}

MivoBuddy MivoBuddyContainer::at(int i) const
{
    if (!isValid())
        return MivoBuddy();
    const QMutexLocker locker(lock);
    return children->value(i);
}

int MivoBuddyContainer::count() const
{
    if (!isValid())
        return -1;
    const QMutexLocker locker(lock);
    return static_cast<int>(children->size());
}

void MivoBuddyContainer::sort()
{
    if (!isValid())
        return;
    const QMutexLocker locker(lock);
    const QMutexLocker indexLocker(&index->mutex);
    // What qStableSort() makes of buddyLessThan(), at every length; Qt 6 has no such function, and
    // for std::stable_sort() that is no order.
    refreshIndex();
    std::reverse(children->begin(), children->end());
    markIndexFresh();
}

void MivoBuddyContainer::addNewMeta(QHash<QString, MivoBuddyMeta>& metas, const MivoBuddyMeta& meta)
{
    MivoBuddyPrivate::get(meta)->setBackLink(self);
    {
        const QMutexLocker indexLocker(&index->mutex);
        metas.insert(meta.getDisplay(), meta);
    }
    append(meta);
}

bool MivoBuddyContainer::contains(const MivoBuddy& entry) const
{
    return isValid() && lookUp(entry);
}

bool MivoBuddyContainer::containsContact(const MivoBuddyContact& contact) const
{
    if (!isValid())
        return false;
    {
        const QMutexLocker indexLocker(&index->mutex);
        refreshIndex();
        if (contact.getType() == MivoBuddy::Contact && holds(contact))
            return true;
        if (index->nested == 0)
            return false;
    }
    const bool isGroup = self.getType() == MivoBuddy::Group;
    if (isGroup) {
        // First where the contact itself says that it is: a group may have many meta-contacts.
        const MivoBuddyMeta parent(contact.getParent());
        if (parent.isValid() && lookUp(parent) && parent.containsContact(contact))
            return true;
    }
    QList<MivoBuddy> nested; // not a shared copy of the list, which may be changed meanwhile
    {
        const QMutexLocker indexLocker(&index->mutex);
        for (int i = 0; i < children->size(); ++i) {
            const MivoBuddy& member = children->at(i);
            if (isNested(member.getType()))
                nested.append(member);
        }
    }
    for (int i = 0; i < nested.size(); ++i) {
        const MivoBuddy& member = nested.at(i);
        if (member.getType() == MivoBuddy::Merged
            && MivoBuddyMerged(member).containsContact(contact))
            return true;
        if (isGroup && member.getType() == MivoBuddy::Meta
            && MivoBuddyMeta(member).containsContact(contact))
            return true;
    }
    return false;
}

bool MivoBuddyContainer::containsMeta(const QHash<QString, MivoBuddyMeta>& metas,
                                      const QString& name) const
{
    const QMutexLocker indexLocker(&index->mutex);
    return metas.contains(name);
}

void MivoBuddyContainer::refreshIndex() const
{
    if (isIndexFresh())
        return;
    index->occurrences.clear();
    index->nested = 0;
    for (int i = 0; i < children->size(); ++i) {
        const MivoBuddy& entry = children->at(i);
        ++index->occurrences[MivoBuddyPrivate::get(entry)];
        if (isNested(entry.getType()))
            ++index->nested;
    }
    markIndexFresh();
}

bool MivoBuddyContainer::isIndexFresh() const
{
    const QList<MivoBuddy>& list = *children; // const: first() and last() detach a shared list
    return index->length == list.size()
        && (list.isEmpty()
            || (index->first == MivoBuddyPrivate::get(list.first())
                && index->last == MivoBuddyPrivate::get(list.last())));
}

void MivoBuddyContainer::markIndexFresh() const
{
    const QList<MivoBuddy>& list = *children;
    index->length = static_cast<int>(list.size());
    index->first = list.isEmpty() ? nullptr : MivoBuddyPrivate::get(list.first());
    index->last = list.isEmpty() ? nullptr : MivoBuddyPrivate::get(list.last());
}

bool MivoBuddyContainer::holds(const MivoBuddy& entry) const
{
    refreshIndex();
    return index->occurrences.contains(MivoBuddyPrivate::get(entry));
}

bool MivoBuddyContainer::lookUp(const MivoBuddy& entry) const
{
    const QMutexLocker indexLocker(&index->mutex);
    return holds(entry);
}

void MivoBuddyContainer::append(const MivoBuddy& entry)
{
    const QMutexLocker indexLocker(&index->mutex);
    refreshIndex();
    children->append(entry);
    ++index->occurrences[MivoBuddyPrivate::get(entry)];
    if (isNested(entry.getType()))
        ++index->nested;
    markIndexFresh();
}

int MivoBuddyContainer::removeAll(const MivoBuddy& entry)
{
    const QMutexLocker indexLocker(&index->mutex);
    refreshIndex();
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry);
    int left = index->occurrences.take(record);
    int removed = 0;
    for (int i = 0; left > 0 && i < children->size();) {
        if (MivoBuddyPrivate::get(children->at(i)) == record) {
            children->removeAt(i);
            ++removed;
            --left;
        } else {
            ++i;
        }
    }
    if (isNested(entry.getType()))
        index->nested -= removed;
    markIndexFresh();
    return removed;
}
