#include "MivoBuddyIndex_p.h"

#include <algorithm>
#include <limits>
#include <new>

namespace {

const qint64 nowhere = std::numeric_limits<qint64>::min();

/** What making an index costs for each member, in members walked past. */
const int costOfEntering = 8;

const std::size_t noSlot = std::numeric_limits<std::size_t>::max();

} // namespace

MivoBuddyIndex::MivoBuddyIndex()
    : hashShift(0)
    , origin(0)
    , isReversed(false)
    , hasTwins(false)
    , steps(0)
    , length(0)
    , first(nullptr)
    , last(nullptr)
{
}

int MivoBuddyIndex::walk(const Members& list, const MivoBuddyPrivate* record)
{
    const int size = static_cast<int>(list.size());
    for (int i = 0; i < size; ++i) {
        if (MivoBuddyPrivate::get(list.at(i)) == record)
            return i;
    }
    return -1;
}

int MivoBuddyIndex::find(const Members& list, const MivoBuddyPrivate* record)
{
    follow(list);
    int position = -1;
    if (!slots.empty()) {
        const std::size_t i = slotOf(record);
        if (i == noSlot)
            return -1;
        position = locate(list, slots[i]);
        if (position < 0)
            giveUp(); // somebody else has taken it out
    } else {
        position = walk(list, record);
        steps += position < 0 ? list.size() : position;
    }
    payFor(list);
    return position;
}

void MivoBuddyIndex::remove(const Members& list, int i)
{
    follow(list);
    if (slots.empty())
        return;
    if (hasTwins || !erase(list.at(i))) {
        giveUp();
        return;
    }
    const int end = --length;
    // Either the members before it or those behind it are now one place from where they were
    // entered: the fewer.
    if (i < end - i)
        --origin;
    first = MivoBuddyPrivate::get(list.at(i == 0 ? 1 : 0));
    last = MivoBuddyPrivate::get(list.at(i == end ? end - 1 : end));
}

void MivoBuddyIndex::reverse(const Members& list)
{
    follow(list);
    origin = length - 1 - origin;
    isReversed = !isReversed;
    std::swap(first, last);
}

void MivoBuddyIndex::giveUp()
{
    std::vector<Slot>().swap(slots);
    std::vector<const MivoBuddyPrivate*>().swap(nested);
}

void MivoBuddyIndex::make(const Members& list)
{
    giveUp();
    origin = 0;
    isReversed = false;
    hasTwins = false;
    steps = 0;
    try {
        std::size_t count = walkLimit;
        while (2 * count < 3 * static_cast<std::size_t>(list.size()))
            count *= 2;
        resize(count);
        for (int i = 0; i < list.size(); ++i)
            enter(list, i);
    } catch (const std::bad_alloc&) {
        giveUp();
    }
}

void MivoBuddyIndex::follow(const Members& list)
{
    if (slots.empty())
        return;
    if (length > list.size() || first != MivoBuddyPrivate::get(list.first())
        || last != MivoBuddyPrivate::get(list.at(length - 1))) {
        giveUp();
        return;
    }
    try {
        for (int i = length; i < list.size(); ++i) {
            if (!enter(list, i)) {
                giveUp(); // if it was not put there again, it has changed places with a new one
                return;
            }
        }
    } catch (const std::bad_alloc&) {
        giveUp();
    }
}

/**
 * Enters the member at @p i, which is behind all that are known; answers false if it was known. May
 * throw, being of no use then.
 */
bool MivoBuddyIndex::enter(const Members& list, int i)
{
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(list.at(i));
    if (3 * static_cast<std::size_t>(i + 1) > 2 * slots.size())
        resize(2 * slots.size());
    if (i == 0)
        first = record;
    last = record;
    length = i + 1;

    const std::size_t mask = slots.size() - 1;
    std::size_t free = homeOf(record);
    for (; slots[free].place != nowhere; free = (free + 1) & mask) {
        if (slots[free].record == record) {
            hasTwins = true;
            return false;
        }
    }
    slots[free].record = record;
    slots[free].place = placeOf(i);
    if (isNested(list.at(i)))
        nested.push_back(record);
    return true;
}

void MivoBuddyIndex::resize(std::size_t count)
{
    const Slot empty = {nullptr, nowhere};
    std::vector<Slot> old(count, empty);
    old.swap(slots);
    hashShift = 64;
    for (std::size_t i = count; i > 1; i /= 2)
        --hashShift;
    const std::size_t mask = count - 1;
    for (std::size_t i = 0; i < old.size(); ++i) {
        if (old[i].place == nowhere)
            continue;
        std::size_t free = homeOf(old[i].record);
        while (slots[free].place != nowhere)
            free = (free + 1) & mask;
        slots[free] = old[i];
    }
}

bool MivoBuddyIndex::erase(const MivoBuddy& member)
{
    const MivoBuddyPrivate* const record = MivoBuddyPrivate::get(member);
    std::size_t hole = slotOf(record);
    if (hole == noSlot)
        return false;
    if (isNested(member)) {
        const std::vector<const MivoBuddyPrivate*>::iterator found
            = std::find(nested.begin(), nested.end(), record);
        *found = nested.back();
        nested.pop_back();
    }
    // What was pushed from its home by the erased one, or by one that was, moves up.
    const std::size_t mask = slots.size() - 1;
    for (std::size_t i = (hole + 1) & mask; slots[i].place != nowhere; i = (i + 1) & mask) {
        if (((i - homeOf(slots[i].record)) & mask) >= ((i - hole) & mask)) {
            slots[hole] = slots[i];
            hole = i;
        }
    }
    slots[hole].place = nowhere;
    return true;
}

std::size_t MivoBuddyIndex::homeOf(const MivoBuddyPrivate* record) const
{
    // Multiplicative hashing: addresses of records of one size, one behind the other, spread best.
    const quint64 address = reinterpret_cast<quintptr>(record);
    return static_cast<std::size_t>((address * Q_UINT64_C(0x9E3779B97F4A7C15)) >> hashShift);
}

std::size_t MivoBuddyIndex::slotOf(const MivoBuddyPrivate* record) const
{
    const std::size_t mask = slots.size() - 1;
    for (std::size_t i = homeOf(record); slots[i].place != nowhere; i = (i + 1) & mask) {
        if (slots[i].record == record)
            return i;
    }
    return noSlot;
}

/** Where the list has the member of @p slot, looked for from its place on to both sides; -1 if it
 * has not. */
int MivoBuddyIndex::locate(const Members& list, Slot& slot)
{
    const qint64 size = list.size();
    const qint64 expected = positionOf(slot);
    for (qint64 below = expected, above = expected; below >= 0 || above < size; --below, ++above) {
        qint64 position = -1;
        if (below >= 0 && below < size
            && MivoBuddyPrivate::get(list.at(static_cast<int>(below))) == slot.record)
            position = below;
        else if (above >= 0 && above < size
                 && MivoBuddyPrivate::get(list.at(static_cast<int>(above))) == slot.record)
            position = above;
        if (position >= 0) {
            slot.place = placeOf(static_cast<int>(position));
            return static_cast<int>(position);
        }
        steps += 2;
    }
    return -1;
}

void MivoBuddyIndex::payFor(const Members& list)
{
    if (steps >= costOfEntering * static_cast<qint64>(list.size()))
        make(list);
}
