#ifndef MIVOBUDDYMETA_H
#define MIVOBUDDYMETA_H

#include "MivoBuddy.h"

#include <QList>

class MivoBuddyContact;
class MivoBuddyGroup;

/**
 * A meta-contact: an ordered list of contacts and merged contacts under one name, in one group.
 *
 * It holds its members as a group does; MivoBuddyGroup tells which operation sets and clears which
 * back-link. Unlike a group's, a meta-contact's removeBuddy() leaves the member's back-link alone,
 * on purpose; so does removeAt(), while clear() clears it. Until a member that was removed so gets
 * another parent, it keeps the meta-contact alive.
 *
 * All operations but isExpanded() and setExpanded() may be called in different threads at once.
 * Each waits for the meta-contact's lock, except for getGroup() and containsContact(). What changes
 * the members throws std::bad_alloc when memory is short and has then changed nothing. An invalid
 * handle answers false, -1, an invalid handle or an empty list; changing it does nothing.
 */
class MIVO_DATA_EXPORT MivoBuddyMeta : public MivoBuddy
{
public:
    /** An invalid handle. */
    MivoBuddyMeta();
    /** A new meta-contact without members and group, not expanded. */
    MivoBuddyMeta(const QString& display);
    /** The same meta-contact; invalid if @p other is not one. */
    MivoBuddyMeta(const MivoBuddy& other);
    MivoBuddyMeta(const MivoBuddyMeta& other);
    MivoBuddyMeta(MivoBuddyMeta&& other) noexcept;
    ~MivoBuddyMeta() override;
    MivoBuddyMeta& operator=(const MivoBuddyMeta& other);
    MivoBuddyMeta& operator=(MivoBuddyMeta&& other) noexcept;

    /** Whether @p contact is a member, or is in a merged contact that is one. */
    bool containsContact(const MivoBuddyContact& contact) const;
    bool isExpanded() const;
    void setExpanded(bool expanded);

    /** The group that the meta-contact was last added to. */
    MivoBuddyGroup getGroup() const;
    /** The member at index @p i, an invalid handle when there is none. */
    MivoBuddy buddyAt(int i) const;
    /** The number of members; -1 when invalid. */
    int childCount() const;
    /** All members in their order, as they are at one moment: a copy. None when invalid. */
    QList<MivoBuddy> buddies() const;

    /**
     * Appends @p buddy and sets its back-link; a contact leaves the container that held it, for
     * whose lock the call waits: see MivoBuddyGroup::addBuddy(). Returns false, and changes nothing,
     * if it is a member already or neither a contact nor a merged contact.
     */
    bool addBuddy(const MivoBuddy& buddy);
    /** Returns how many entries of the list were removed. The back-link stays. */
    int removeBuddy(const MivoBuddy& buddy);
    /** Takes the member at index @p i out, with its back-link as it is; invalid if there is none.
     */
    MivoBuddy removeAt(int i);
    /**
     * Takes all members out, all at once, and clears the back-links that lead here, unlike
     * removeBuddy(). Takes no memory and cannot fail.
     */
    void clear();
    /** Reverses the members: see buddyLessThan(). */
    void sort();
};

Q_DECLARE_TYPEINFO(MivoBuddyMeta, Q_MOVABLE_TYPE);

/** Writes validity, display name, number of members and whether expanded, on a line each. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddyMeta& meta);

#endif
