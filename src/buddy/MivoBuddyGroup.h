#ifndef MIVOBUDDYGROUP_H
#define MIVOBUDDYGROUP_H

#include "MivoBuddy.h"
#include "MivoPresence.h"

#include <QList>

class MivoBuddyContact;
class MivoBuddyMeta;

/**
 * A group of the contact list: an ordered list of contacts, meta-contacts, merged and temporary
 * contacts.
 *
 * A member has a back-link to its container: MivoBuddyContact::getParent() and
 * MivoBuddyMerged::getParent(), MivoBuddyMeta::getGroup() and MivoBuddyTemporary::getGroup().
 * A group and its members hold handles of each other and so keep each other alive until the member
 * is removed and its back-link cleared:
 *
 * | operation                  | back-link of the entry                                       |
 * |----------------------------|--------------------------------------------------------------|
 * | addBuddy()                 | set to this group; only a contact leaves its old container   |
 * | addMeta()                  | set to this group                                            |
 * | removeBuddy()              | cleared if it leads here, also when the entry is no member   |
 * | removeAt()                 | stays                                                        |
 * | clear()                    | cleared if it leads here                                     |
 * | MivoBuddyMeta::addBuddy()  | set to the meta-contact; only a contact leaves its old place |
 * | MivoBuddyMeta::removeBuddy(), removeAt() | stays                                          |
 * | MivoBuddyMeta::clear()     | cleared if it leads to the meta-contact                      |
 *
 * All operations but isExpanded() and setExpanded() may be called in different threads at once.
 * Each waits for the group's lock, except for those that start with "contains"; the counts read the
 * presences of contacts, which nothing guards. What changes the members throws std::bad_alloc when
 * memory is short and has then changed nothing. An invalid handle answers false, -1, an invalid
 * handle or an empty list; changing it does nothing.
 */
class MIVO_DATA_EXPORT MivoBuddyGroup : public MivoBuddy
{
public:
    /** An invalid handle. */
    MivoBuddyGroup();
    /** A new group without members, not expanded. */
    MivoBuddyGroup(const QString& display);
    /** The same group; invalid if @p other is not a group. */
    MivoBuddyGroup(const MivoBuddy& other);
    MivoBuddyGroup(const MivoBuddyGroup& other);
    MivoBuddyGroup(MivoBuddyGroup&& other) noexcept;
    ~MivoBuddyGroup() override;
    MivoBuddyGroup& operator=(const MivoBuddyGroup& other);
    MivoBuddyGroup& operator=(MivoBuddyGroup&& other) noexcept;

    /** Whether addMeta() was called with that name, also when the meta-contact has left since. */
    bool containsMeta(const QString& name) const;
    /** Whether @p buddy itself is a member. No slower in a large group than in one of 64 members. */
    bool containsBuddy(const MivoBuddy& buddy) const;
    /**
     * Whether @p contact is a member, or is in a meta-contact or merged contact that is one: as fast
     * as containsBuddy() but for one look into each of those.
     */
    bool containsContact(const MivoBuddyContact& contact) const;
    bool isExpanded() const;
    void setExpanded(bool expanded);

    /** The member at index @p i, an invalid handle when there is none. */
    MivoBuddy buddyAt(int i) const;
    /** The number of members; -1 when invalid. */
    int childCount() const;
    /** All members in their order, as they are at one moment: a copy. None when invalid. */
    QList<MivoBuddy> buddies() const;
    /** The number of contacts whose presence is not Offline; only members themselves count. */
    int onlineChildCount() const;
    /** The number of contacts whose presence has that flag; only members themselves count. */
    int statusChildCount(MivoPresence::Flag flag) const;

    /**
     * Appends @p buddy and sets its back-link; a contact leaves the container that held it, for
     * whose lock the call waits while it holds this group's: a host that holds the lock of any
     * container must not call it. Returns false, and changes nothing, if it is a member already
     * or a group, an entry of kind Other or invalid. An entry of an unknown kind number has no
     * back-link.
     */
    bool addBuddy(const MivoBuddy& buddy);
    /** Clears a back-link to this group; returns how many entries of the list were removed. */
    int removeBuddy(const MivoBuddy& buddy);
    /** Takes the member at index @p i out, with its back-link as it is; invalid if there is none.
     */
    MivoBuddy removeAt(int i);
    /**
     * The meta-contact that addMeta() made for that name, a new member of this group the first
     * time. The group keeps it for that name, also when it is removed from the members.
     */
    MivoBuddyMeta addMeta(const QString& name);
    /**
     * Takes all members out and clears the back-links that lead here, and does the same to each
     * meta-contact among them that belongs to no other group; forgets what addMeta() has made. So
     * nothing of a contact list keeps itself alive. The members leave at once, those of the
     * meta-contacts after them, one meta-contact after the other, for whose locks the call waits
     * while it holds no other. Takes no memory and cannot fail.
     */
    void clear();
    /** Reverses the members: see buddyLessThan(). */
    void sort();
};

Q_DECLARE_TYPEINFO(MivoBuddyGroup, Q_MOVABLE_TYPE);

/** Writes validity, display name, number of members and whether expanded, on a line each. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddyGroup& group);

#endif
