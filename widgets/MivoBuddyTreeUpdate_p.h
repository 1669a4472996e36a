#ifndef MIVOBUDDYTREEUPDATE_P_H
#define MIVOBUDDYTREEUPDATE_P_H

#include "MivoBuddyEntry_p.h"

#include <array>

/**
 * What turns a tree that is shown into another one, a copy of the entries as they are now: found in
 * one pass over both. It changes nothing that is shown itself.
 *
 * Places are matched by the entries' identity: first those in one container, in their order, then
 * what is left over, so that an entry that has gone from one container and come to another is one
 * that was moved.
 */
class MivoBuddyTreeUpdate
{
public:
    /** A place that stays, and its copy, which shows something else. */
    struct Change
    {
        MivoBuddyEntry* place;
        const MivoBuddyEntry* copy;
    };
    /**
     * A container whose rows change. Of its rows to be, those that are new have no parent yet;
     * they are owned by whoever executes this. Those without an equal in the copy are marked as
     * gone. A container stands after the one that holds it.
     */
    struct Arrangement
    {
        MivoBuddyEntry* container;
        std::vector<MivoBuddyEntry*> rows;
    };

    /** Both are places of one entry, or roots. The copy is used up, and must outlive this. */
    MivoBuddyTreeUpdate(MivoBuddyEntry* shown, MivoBuddyEntry* copy);

    std::vector<Change> changes;
    std::vector<Arrangement> arrangements;

private:
    struct Pair
    {
        MivoBuddyEntry* shown; ///< null: the container is new
        MivoBuddyEntry* copy; ///< null: the container goes
    };

    void pair(MivoBuddyEntry* shown, MivoBuddyEntry* copy);
    void compareChildren(const Pair& containers);
    void matchLeftovers(std::size_t rank);
    void arrange(MivoBuddyEntry* copy);

    // By rank: containers whose children are to be compared, and what has no equal in them.
    std::array<std::vector<Pair>, MivoBuddyEntry::Leaf + 1> pairs;
    std::array<std::vector<MivoBuddyEntry*>, MivoBuddyEntry::Leaf + 1> leftShown;
    std::array<std::vector<MivoBuddyEntry*>, MivoBuddyEntry::Leaf + 1> leftCopied;
    /** Containers, by their copies, whose children are not those that are shown one by one. */
    std::vector<MivoBuddyEntry*> unequal;
    /** Copies of what is shown already, taken out of their containers. */
    std::vector<std::unique_ptr<MivoBuddyEntry>> usedUp;
};

#endif
