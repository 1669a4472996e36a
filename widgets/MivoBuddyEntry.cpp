#include "MivoBuddyEntry_p.h"

#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMerged_p.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyTemporary.h"
#include "MivoPresence.h"

#include <algorithm>

namespace {

MivoBuddyEntry::Rank rankOf(MivoBuddy::Type kind)
{
    switch (kind) {
    case MivoBuddy::Group:
        return MivoBuddyEntry::Group;
    case MivoBuddy::Meta:
        return MivoBuddyEntry::Meta;
    case MivoBuddy::Merged:
        return MivoBuddyEntry::Merged;
    default:
        return MivoBuddyEntry::Leaf;
    }
}

MivoShownPresence shownPresence(const MivoPresence& presence)
{
    MivoShownPresence shown;
    shown.text = presence.getDisplay();
    shown.description = presence.getDescription();
    shown.ownIcon = presence.getIcon();
    shown.icon = shown.ownIcon;
    shown.flag = presence.getFlag();
    shown.priority = presence.getPriority();
    shown.isValid = presence.isValid();
    return shown;
}

bool operator==(const MivoShownPresence& a, const MivoShownPresence& b)
{
    return a.isValid == b.isValid && a.flag == b.flag && a.priority == b.priority
        && a.text == b.text && a.description == b.description && a.icon == b.icon
        && a.ownIcon == b.ownIcon;
}

/** Whether @p a is reached better than @p b. */
bool comesBefore(const MivoShownPresence& a, const MivoShownPresence& b)
{
    if (a.isOffline() != b.isOffline())
        return b.isOffline();
    return a.priority > b.priority;
}

} // namespace

bool MivoShownPresence::isOffline() const
{
    return flag == MivoPresence::Offline;
}

bool MivoShownBuddy::operator==(const MivoShownBuddy& other) const
{
    return unread == other.unread && account == other.account && name == other.name
        && id == other.id && presence == other.presence;
}

MivoBuddyEntry::MivoBuddyEntry() = default;

MivoBuddyEntry::MivoBuddyEntry(const MivoBuddy& entry, Rank container)
    : buddy(entry)
    , kind(entry.getType())
    , rank(rankOf(kind) > container ? rankOf(kind) : Leaf)
{
    shown.name = buddy.getDisplay();
    shown.unread = buddy.unreadMessages();
    if (kind == MivoBuddy::Contact) {
        const MivoBuddyContact contact(buddy);
        shown.id = contact.getId();
        shown.account = contact.getAccount();
        shown.presence = shownPresence(contact.getPresence());
        shown.presence.icon = contact.getPresenceIcon();
    } else if (kind == MivoBuddy::Temporary) {
        const MivoBuddyTemporary temporary(buddy);
        shown.id = temporary.getId();
        shown.account = temporary.getAccount();
        shown.presence = shownPresence(temporary.getPresence());
    } else if (rank == Group) {
        copyMembers(MivoBuddyGroup(buddy));
    } else if (rank == Meta) {
        copyMembers(MivoBuddyMeta(buddy));
    } else if (rank == Merged) {
        if (const MivoBuddyMergedPrivate* const record = MivoBuddyMergedPrivate::get(buddy)) {
            for (const MivoBuddyContact& contact : record->contacts) {
                if (contact.isValid())
                    append(std::make_unique<MivoBuddyEntry>(contact, rank));
            }
        }
    }
    derive();
}

MivoBuddyEntry::~MivoBuddyEntry()
{
    for (MivoBuddyEntry* const child : children)
        delete child;
}

std::unique_ptr<MivoBuddyEntry> MivoBuddyEntry::copyOf(const QList<MivoBuddyGroup>& groups)
{
    auto root = std::make_unique<MivoBuddyEntry>();
    for (const MivoBuddyGroup& group : groups) {
        if (group.isValid())
            root->append(std::make_unique<MivoBuddyEntry>(group, Root));
    }
    return root;
}

std::unique_ptr<MivoBuddyEntry> MivoBuddyEntry::clone() const
{
    auto copy = std::make_unique<MivoBuddyEntry>();
    copy->buddy = buddy;
    copy->kind = kind;
    copy->rank = rank;
    copy->shown = shown;
    for (const MivoBuddyEntry* const child : children)
        copy->append(child->clone());
    return copy;
}

void MivoBuddyEntry::dropChildren()
{
    for (MivoBuddyEntry* const child : children)
        delete child;
    children.clear();
    rank = Leaf;
    derive();
}

int MivoBuddyEntry::row() const
{
    const auto& rows = parent->children;
    if (std::size_t(lastRow) >= rows.size() || rows[std::size_t(lastRow)] != this) {
        // Rows have come, gone or moved: all are counted anew, at once.
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i]->lastRow = int(i);
    }
    return lastRow;
}

bool MivoBuddyEntry::derive()
{
    if (kind != MivoBuddy::Meta && kind != MivoBuddy::Merged)
        return false;
    MivoShownBuddy derived;
    derived.name = shown.name;
    derived.unread = shown.unread;
    if (!children.empty()) {
        if (kind == MivoBuddy::Merged) {
            const MivoShownBuddy& first = children.front()->shown;
            derived.id = first.id;
            derived.account = first.account;
            derived.presence = first.presence;
        } else {
            const auto best
                = std::min_element(children.begin(), children.end(),
                                   [](const MivoBuddyEntry* a, const MivoBuddyEntry* b) {
                                       return comesBefore(a->shown.presence, b->shown.presence);
                                   });
            derived.presence = (*best)->shown.presence;
        }
    }
    if (derived == shown)
        return false;
    shown = derived;
    return true;
}

void MivoBuddyEntry::append(std::unique_ptr<MivoBuddyEntry> child)
{
    child->parent = this;
    child->lastRow = int(children.size());
    children.push_back(child.get());
    child.release(); // NOLINT(bugprone-unused-return-value): now owned by the list
}

template <class Container>
void MivoBuddyEntry::copyMembers(const Container& container)
{
    const QList<MivoBuddy> members = container.buddies();
    children.reserve(std::size_t(members.size()));
    for (const MivoBuddy& member : members) {
        if (member.isValid())
            append(std::make_unique<MivoBuddyEntry>(member, rank));
    }
}
