#include "MivoBuddyContainer_p.h"

#include "MivoBuddyGroup_p.h"
#include "MivoBuddyIndex_p.h"
#include "MivoBuddyMerged_p.h"
#include "MivoBuddyMeta_p.h"
#include "MivoQt_p.h"

#include <QMutexLocker>

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

namespace {

/**
 * Held by a contact's move from one container to another, and so by all who wait for a container's
 * lock while they hold another's. Initialised at compile time: static objects may move contacts.
 */
std::mutex movesMutex;

/** Whether @p nested, a meta-contact or merged contact, contains @p contact. */
bool isIn(const MivoBuddy& nested, const MivoBuddyContact& contact)
{
    return nested.getType() == MivoBuddy::Merged
        ? MivoBuddyMergedPrivate::contains(nested, contact)
        : MivoBuddyContainer(nested).containsContact(contact);
}

} // namespace

MivoBuddyContainer::MivoBuddyContainer(const MivoBuddy& container)
    : self(&container)
    , children(nullptr)
    , lock(nullptr)
    , childrenMutex(nullptr)
    , index(nullptr)
{
    if (MivoBuddyGroupPrivate* const group = MivoBuddyGroupPrivate::get(container)) {
        children = &group->children;
        lock = &group->lock;
        childrenMutex = &group->childrenMutex;
        index = &group->index;
    } else if (MivoBuddyMetaPrivate* const meta = MivoBuddyMetaPrivate::get(container)) {
        children = &meta->children;
        lock = &meta->lock;
        childrenMutex = &meta->childrenMutex;
        index = &meta->index;
    }
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
        return self->getType() == MivoBuddy::Group;
    default:
        return true;
    }
}

bool MivoBuddyContainer::add(const MivoBuddy& entry)
{
    if (!isValid())
        return false;
    // Only a contact leaves the container that held it before.
    const bool canMove = entry.getType() == MivoBuddy::Contact;
    MivoBuddy oldParent; // released after the locks: this may be its last handle
    if (canMove)
        oldParent = MivoBuddyPrivate::get(entry)->backLink();
    bool moves = oldParent != *self && MivoBuddyContainer(oldParent).isValid();
    for (;;) {
        MivoBuddy previousLink; // released after the locks as well
        std::unique_lock<std::mutex> movesLocker(movesMutex, std::defer_lock);
        if (moves)
            movesLocker.lock();
        const QMutexLocker locker(lock);
        if (!accepts(entry.getType()))
            return false;
        if (moves)
            return move(entry, &oldParent);
        const bool added = addUnlessElsewhere(entry, canMove ? &moves : nullptr, &previousLink);
        if (!moves)
            return added;
        // Another container has got the entry while this one's lock was waited for.
    }
}

/**
 * Appends @p entry, if it is no member, and sets its back-link. If @p isElsewhere is given and the
 * back-link leads to another container, answers so and changes nothing.
 */
bool MivoBuddyContainer::addUnlessElsewhere(const MivoBuddy& entry, bool* isElsewhere,
                                            MivoBuddy* previousLink)
{
    MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry);
    const QMutexLocker childrenLocker(childrenMutex);
    if (find(record) >= 0)
        return false;
    children->append(entry);
    if (!isElsewhere) {
        *previousLink = record->setBackLink(*self);
        return true;
    }
    *previousLink = *self;
    if (record->exchangeBackLinkUnlessElsewhere(*previousLink))
        return true;
    children->removeLast();
    *isElsewhere = true;
    return false;
}

/**
 * Moves @p entry, a contact, here from where its back-link leads. @p oldParent is where it led a
 * moment ago, and in the end where it led.
 */
bool MivoBuddyContainer::move(const MivoBuddy& entry, MivoBuddy* oldParent)
{
    MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry);
    for (;; *oldParent = record->backLink()) {
        MivoBuddyContainer old(*oldParent);
        const bool leaves = old.isValid() && *oldParent != *self;
        std::unique_lock<QMutex> oldLocker;
        if (leaves)
            oldLocker = std::unique_lock<QMutex>(*old.lock);

        // Both at once: whoever looks the entry up finds it in one of the two.
        QMutex* mutexes[] = {childrenMutex, leaves ? old.childrenMutex : nullptr};
        if (leaves && oldParent->getType() == MivoBuddy::Group)
            std::swap(mutexes[0], mutexes[1]);
        const std::unique_lock<QMutex> childrenLocker(*mutexes[0]);
        std::unique_lock<QMutex> otherChildrenLocker;
        if (mutexes[1])
            otherChildrenLocker = std::unique_lock<QMutex>(*mutexes[1]);

        if (find(record) >= 0)
            return false;
        // All that can fail comes first.
        const int oldPlace = leaves ? old.find(record) : -1;
        if (oldPlace >= 0)
            mivoDetach(*old.children);
        // The reference may have led into the list as it was before.
        children->append(oldPlace >= 0 ? old.children->at(oldPlace) : entry);
        if (record->replaceBackLink(*oldParent, *self)) {
            if (oldPlace >= 0)
                old.removeAll(record, oldPlace);
            return true;
        }
        // Somebody has moved the entry while the old container's lock was waited for.
        children->removeLast();
    }
}

int MivoBuddyContainer::remove(const MivoBuddy& member)
{
    if (!isValid())
        return -1;
    // The references may lead into the list and into the entry's back-link.
    const MivoBuddy entry(member); // NOLINT(performance-unnecessary-copy-initialization)
    const MivoBuddy container(*self); // NOLINT(performance-unnecessary-copy-initialization)
    const QMutexLocker locker(lock);
    int removed = 0;
    {
        const QMutexLocker childrenLocker(childrenMutex);
        removed = removeAll(MivoBuddyPrivate::get(entry), find(MivoBuddyPrivate::get(entry)));
    }
    // A meta-contact leaves the back-link alone, on purpose.
    if (container.getType() == MivoBuddy::Group && entry.isValid())
        MivoBuddyPrivate::get(entry)->replaceBackLink(container, MivoBuddy());
    return removed;
}

MivoBuddy MivoBuddyContainer::takeAt(int i)
{
    if (!isValid())
        return MivoBuddy();
    const QMutexLocker locker(lock);
    const QMutexLocker childrenLocker(childrenMutex);
    if (i < 0 || i >= children->size())
        return MivoBuddy();
    mivoDetach(*children);
    MivoBuddy entry = children->at(i);
    removeAt(i);
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

QList<MivoBuddy> MivoBuddyContainer::members() const
{
    if (!isValid())
        return QList<MivoBuddy>();
    const QMutexLocker locker(lock);
    return *children;
}

void MivoBuddyContainer::sort()
{
    if (!isValid())
        return;
    const QMutexLocker locker(lock);
    const QMutexLocker childrenLocker(childrenMutex);
    mivoDetach(*children);
    if (MivoBuddyIndex* const known = indexOfLongList())
        known->reverse(*children);
    // What qStableSort() makes of buddyLessThan(), at every length; Qt 6 has no such function, and
    // for std::stable_sort() that is no order.
    QList<MivoBuddy>::iterator front = children->begin();
    QList<MivoBuddy>::iterator back = children->end();
    while (back - front > 1)
        MivoBuddyPrivate::swap(*front++, *--back);
}

void MivoBuddyContainer::addNewMeta(QHash<QString, MivoBuddyMeta>& metas, const MivoBuddyMeta& meta)
{
    const QMutexLocker childrenLocker(childrenMutex);
    children->append(meta);
    try {
        mivoInsert(metas, meta.getDisplay(), meta);
    } catch (...) {
        children->removeLast();
        throw;
    }
    MivoBuddyPrivate::get(meta)->setBackLink(*self);
}

void MivoBuddyContainer::clear(QHash<QString, MivoBuddyMeta>* metas)
{
    if (!isValid())
        return;
    // Released after the lock, all of them; the reference may lead into a member's back-link.
    const MivoBuddy container(*self); // NOLINT(performance-unnecessary-copy-initialization)
    Taken taken;
    {
        const QMutexLocker locker(lock);
        takeAll(container, metas, taken);
    }
    if (container.getType() != MivoBuddy::Group)
        return;
    // One after the other, with no other container's lock held.
    for (int i = 0; i < taken.members.size(); ++i) {
        const MivoBuddy& member = taken.members.at(i);
        if (member.getType() == MivoBuddy::Meta)
            MivoBuddyContainer(member).clearUnlessInGroup();
    }
}

/** Clears a meta-contact that is in no group: somebody may have added it to one meanwhile. */
void MivoBuddyContainer::clearUnlessInGroup()
{
    if (!isValid())
        return;
    Taken taken;
    const QMutexLocker locker(lock);
    if (!MivoBuddyPrivate::get(*self)->backLinkAddress())
        takeAll(*self, nullptr, taken);
}

/**
 * Takes everything out, under the container's lock: who adds an entry here again does so after its
 * back-link has been cleared.
 */
void MivoBuddyContainer::takeAll(const MivoBuddy& container, QHash<QString, MivoBuddyMeta>* metas,
                                 Taken& taken)
{
    {
        const QMutexLocker childrenLocker(childrenMutex);
        children->swap(taken.members);
        if (metas)
            metas->swap(taken.metas);
        index->reset();
    }
    const auto clearLink = [&container](const MivoBuddy& entry) {
        if (MivoBuddyPrivate* const record = MivoBuddyPrivate::get(entry))
            record->replaceBackLink(container, MivoBuddy());
    };
    for (int i = 0; i < taken.members.size(); ++i)
        clearLink(taken.members.at(i));
    // Those that have left the members before may still lead here.
    const QHash<QString, MivoBuddyMeta>::const_iterator end = taken.metas.constEnd();
    for (QHash<QString, MivoBuddyMeta>::const_iterator meta = taken.metas.constBegin(); meta != end;
         ++meta)
        clearLink(meta.value());
}

bool MivoBuddyContainer::contains(const MivoBuddy& entry) const
{
    if (!isValid())
        return false;
    const QMutexLocker childrenLocker(childrenMutex);
    return find(MivoBuddyPrivate::get(entry)) >= 0;
}

bool MivoBuddyContainer::containsContact(const MivoBuddyContact& contact) const
{
    if (!isValid())
        return false;
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(contact);
    const QMutexLocker childrenLocker(childrenMutex);
    if (find(record) >= 0 && contact.getType() == MivoBuddy::Contact)
        return true;
    if (*index && (*index)->knowsNoNested())
        return false;
    if (self->getType() == MivoBuddy::Meta) {
        return anyNested([&contact](const MivoBuddy& member) {
            return member.getType() == MivoBuddy::Merged && isIn(member, contact);
        });
    }
    // A group may have many meta-contacts: the one that the contact names comes first.
    const MivoBuddyPrivate* const parent = record ? record->backLinkAddress() : nullptr;
    const int i = parent && parent != MivoBuddyPrivate::get(*self) ? find(parent) : -1;
    if (i >= 0 && MivoBuddyIndex::isNested(children->at(i)) && isIn(children->at(i), contact))
        return true;
    return anyNested([&contact, parent](const MivoBuddy& member) {
        return MivoBuddyPrivate::get(member) != parent && isIn(member, contact);
    });
}

bool MivoBuddyContainer::containsMeta(const QHash<QString, MivoBuddyMeta>& metas,
                                      const QString& name) const
{
    const QMutexLocker childrenLocker(childrenMutex);
    return metas.contains(name);
}

/** Removes the entry that stands at @p i, and everywhere behind it. */
int MivoBuddyContainer::removeAll(const MivoBuddyPrivate* record, int i)
{
    if (i < 0)
        return 0;
    mivoDetach(*children);
    MivoBuddyIndex* const known = indexOfLongList();
    if (known && known->knowsEachOnce()) {
        removeAt(i);
        return 1;
    }
    if (known)
        known->giveUp();
    const QList<MivoBuddy>::iterator end
        = std::remove_if(children->begin() + i, children->end(), [record](const MivoBuddy& member) {
              return MivoBuddyPrivate::get(member) == record;
          });
    const int removed = static_cast<int>(children->end() - end);
    // Only some generations of Qt erase by const iterators.
    children->erase(end, children->end()); // clazy:exclude=strict-iterators
    return removed;
}

/** Null for a list that is short enough to be walked through, and when memory is short. */
MivoBuddyIndex* MivoBuddyContainer::indexOfLongList() const
{
    if (children->size() <= MivoBuddyIndex::walkLimit)
        index->reset();
    else if (!*index)
        index->reset(new (std::nothrow) MivoBuddyIndex);
    return index->get();
}

int MivoBuddyContainer::find(const MivoBuddyPrivate* record) const
{
    MivoBuddyIndex* const known = indexOfLongList();
    return known ? known->find(*children, record) : MivoBuddyIndex::walk(*children, record);
}

void MivoBuddyContainer::removeAt(int i)
{
    if (MivoBuddyIndex* const known = indexOfLongList())
        known->remove(*children, i);
    children->removeAt(i);
}

template <class Accepts>
bool MivoBuddyContainer::anyNested(Accepts accepts) const
{
    if (MivoBuddyIndex* const known = indexOfLongList())
        return known->anyNested(*children, accepts);
    for (int i = 0; i < children->size(); ++i) {
        if (MivoBuddyIndex::isNested(children->at(i)) && accepts(children->at(i)))
            return true;
    }
    return false;
}
