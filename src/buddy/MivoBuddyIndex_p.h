#ifndef MIVOBUDDYINDEX_P_H
#define MIVOBUDDYINDEX_P_H

#include "MivoBuddy_p.h"

#include <QList>

#include <cstddef>
#include <vector>

/**
 * Finds the members of one long list of a container without walking through it.
 *
 * The list is the truth: what the index affirms is looked up there, and what it remembers of a
 * member is only where to look first. It follows what the library does to the list, and what
 * anybody appends to it; when the length or an end of the list has changed otherwise, it is given
 * up. An index is made when the list has been walked through for about as much as that costs. What
 * it cannot notice is an entry that took another's place between the ends of the list.
 *
 * It holds no handles: it compares addresses of records, and looks into a record only where the
 * list has it. When memory is short for it, the list is walked through. Not thread-safe.
 */
class MivoBuddyIndex
{
public:
    typedef QList<MivoBuddy> Members;

    /**
     * Walking through that many members is exact and takes little longer than an index does: 26
     * nanoseconds beside 16 where it was measured, 13 of them for a mutex.
     */
    static const int walkLimit = 64;

    /** Where @p list has the entry of @p record, which may be null; -1 if it has not. */
    static int walk(const Members& list, const MivoBuddyPrivate* record);
    /** Whether @p member is of a kind that can hold contacts in turn. */
    static bool isNested(const MivoBuddy& member);

    MivoBuddyIndex();

    /** Where @p list has the entry of @p record, which may be null; -1 if it has not. */
    int find(const Members& list, const MivoBuddyPrivate* record);
    /** Whether @p accepts one of the members that can hold contacts in turn. */
    template <class Accepts>
    bool anyNested(const Members& list, Accepts accepts);
    /** Whether it is known of each member that it stands in the list once. */
    bool knowsEachOnce() const { return !slots.empty() && !hasTwins; }
    /** Whether it is known that no member can hold contacts in turn. */
    bool knowsNoNested() const { return !slots.empty() && nested.empty(); }

    /** The member at @p i is about to be removed. */
    void remove(const Members& list, int i);
    /** The members are about to be reversed. */
    void reverse(const Members& list);
    void giveUp();

private:
    Q_DISABLE_COPY(MivoBuddyIndex)

    /** A member and where it was; free without a place. */
    struct Slot
    {
        const MivoBuddyPrivate* record;
        qint64 place; ///< counted so that removing the first member or reversing all changes none
    };

    qint64 placeOf(int i) const { return isReversed ? origin - i : i - origin; }
    qint64 positionOf(const Slot& slot) const
    {
        return isReversed ? origin - slot.place : origin + slot.place;
    }

    void make(const Members& list);
    void follow(const Members& list);
    bool enter(const Members& list, int i);
    void resize(std::size_t count);
    bool erase(const MivoBuddy& member);
    std::size_t homeOf(const MivoBuddyPrivate* record) const;
    std::size_t slotOf(const MivoBuddyPrivate* record) const;
    int locate(const Members& list, Slot& slot);
    void payFor(const Members& list);

    std::vector<Slot> slots; ///< a power of two, or none: there is no index
    std::vector<const MivoBuddyPrivate*> nested; ///< the members that can hold contacts in turn
    int hashShift; ///< leaves as many bits of a hash as the number of slots has
    qint64 origin;
    bool isReversed;
    bool hasTwins; ///< a member stands in the list more than once
    qint64 steps; ///< members walked past since the index was made
    // Of the list as it is known.
    int length;
    const MivoBuddyPrivate* first;
    const MivoBuddyPrivate* last;
};

inline bool MivoBuddyIndex::isNested(const MivoBuddy& member)
{
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(member);
    return record && (record->type == MivoBuddy::Meta || record->type == MivoBuddy::Merged);
}

template <class Accepts>
bool MivoBuddyIndex::anyNested(const Members& list, Accepts accepts)
{
    follow(list);
    for (std::size_t i = 0; i < nested.size(); ++i) {
        const int position = locate(list, slots[slotOf(nested[i])]);
        if (position < 0) {
            giveUp();
            break;
        }
        if (accepts(list.at(position)))
            return true;
    }
    if (slots.empty()) {
        for (int i = 0; i < list.size(); ++i) {
            if (isNested(list.at(i)) && accepts(list.at(i)))
                return true;
        }
        steps += list.size();
    }
    payFor(list);
    return false;
}

#endif
