#include "MivoBuddyTreeUpdate_p.h"

#include <QHash>

#include <algorithm>

namespace {

/** Places by their entries; of several of one entry the first is taken first. */
class PlacesByBuddy
{
public:
    template <class Iterator>
    PlacesByBuddy(Iterator begin, Iterator end)
    {
        if (begin != end)
            places.reserve(int(end - begin));
        // Of equal keys the hash answers the one that was inserted last.
        while (end != begin) {
            --end;
            places.insert((*end)->buddy, *end);
        }
    }

    /** Null when there is none left. */
    MivoBuddyEntry* take(const MivoBuddy& buddy)
    {
        const auto found = places.constFind(buddy);
        if (found == places.cend())
            return nullptr;
        MivoBuddyEntry* const place = found.value();
        places.erase(found);
        return place;
    }

private:
    QMultiHash<MivoBuddy, MivoBuddyEntry*> places;
};

} // namespace

MivoBuddyTreeUpdate::MivoBuddyTreeUpdate(MivoBuddyEntry* shown, MivoBuddyEntry* copy)
{
    pair(shown, copy);
    // What a container holds ranks below it: once all containers of a rank have been compared, it
    // is known what of the next rank is left over.
    for (int rank = shown->rank; rank < MivoBuddyEntry::Leaf; ++rank) {
        // Comparing adds to the lists of lower ranks only.
        for (const Pair& containers : pairs[std::size_t(rank)])
            compareChildren(containers);
        matchLeftovers(std::size_t(rank) + 1);
    }
    for (MivoBuddyEntry* const container : unequal)
        arrange(container);
}

void MivoBuddyTreeUpdate::pair(MivoBuddyEntry* shown, MivoBuddyEntry* copy)
{
    copy->match = shown;
    shown->isGone = false;
    if (!(shown->shown == copy->shown))
        changes.push_back({shown, copy});
    if (shown->rank < MivoBuddyEntry::Leaf)
        pairs[shown->rank].push_back({shown, copy});
}

void MivoBuddyTreeUpdate::compareChildren(const Pair& containers)
{
    using Children = std::vector<MivoBuddyEntry*>;
    static const Children none;
    const Children& shown = containers.shown ? containers.shown->children : none;
    const Children& copied = containers.copy ? containers.copy->children : none;

    // In one container a place and its copy are of one rank, since the entries are of one kind.
    const auto isSame
        = [](const MivoBuddyEntry* a, const MivoBuddyEntry* b) { return a->buddy == b->buddy; };
    const auto first
        = std::mismatch(shown.begin(), shown.end(), copied.begin(), copied.end(), isSame);
    const auto last
        = std::mismatch(shown.rbegin(), std::make_reverse_iterator(first.first), copied.rbegin(),
                        std::make_reverse_iterator(first.second), isSame);
    const auto shownEnd = last.first.base();
    const auto copiedEnd = last.second.base();

    for (auto i = shown.begin(), j = copied.begin(); i != first.first; ++i, ++j)
        pair(*i, *j);
    std::for_each(first.first, shownEnd, [](MivoBuddyEntry* place) { place->isGone = true; });
    PlacesByBuddy places(first.first, shownEnd);
    for (auto j = first.second; j != copiedEnd; ++j) {
        if (MivoBuddyEntry* const place = places.take((*j)->buddy))
            pair(place, *j);
        else
            leftCopied[(*j)->rank].push_back(*j);
    }
    std::for_each(first.first, shownEnd, [this](MivoBuddyEntry* place) {
        if (place->isGone)
            leftShown[place->rank].push_back(place);
    });
    for (auto i = shownEnd, j = copiedEnd; i != shown.end(); ++i, ++j)
        pair(*i, *j);

    if (containers.copy && (first.first != shownEnd || first.second != copiedEnd))
        unequal.push_back(containers.copy);
}

void MivoBuddyTreeUpdate::matchLeftovers(std::size_t rank)
{
    const auto& shown = leftShown[rank];
    PlacesByBuddy places(shown.begin(), shown.end());
    for (MivoBuddyEntry* const copy : leftCopied[rank]) {
        if (MivoBuddyEntry* const place = places.take(copy->buddy))
            pair(place, copy);
        else if (rank < MivoBuddyEntry::Leaf)
            pairs[rank].push_back({nullptr, copy});
    }
    for (MivoBuddyEntry* const place : shown) {
        if (place->isGone && rank < MivoBuddyEntry::Leaf)
            pairs[rank].push_back({place, nullptr});
    }
}

void MivoBuddyTreeUpdate::arrange(MivoBuddyEntry* copy)
{
    Arrangement arrangement = {copy->match ? copy->match : copy, {}};
    std::vector<MivoBuddyEntry*> fresh;
    for (MivoBuddyEntry* const child : copy->children) {
        arrangement.rows.push_back(child->match ? child->match : child);
        if (child->match)
            usedUp.emplace_back(child);
        else
            fresh.push_back(child);
    }
    copy->children.clear();
    if (!copy->match) {
        // What is new in a new container is in its place already.
        copy->children = fresh;
        if (fresh == arrangement.rows)
            return;
    } else {
        for (MivoBuddyEntry* const child : fresh)
            child->parent = nullptr;
    }
    arrangements.push_back(std::move(arrangement));
}
