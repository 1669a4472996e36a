#include "MivoBuddyGroup.h"

#include "MivoBuddyContact_p.h"
#include "MivoBuddyContainer_p.h"
#include "MivoBuddyGroup_p.h"
#include "MivoBuddyIndex_p.h"
#include "MivoPresenceType.h"

#include <QMutexLocker>

namespace {

/** Reads a presence's flag where a call would cost more than all the rest. */
class PresenceFlag : public MivoPresence
{
public:
    static Flag of(const MivoPresence& presence)
    {
        const MivoPresenceType* const own = presence.*(&PresenceFlag::type);
        return own ? own->flag : NoFlag;
    }
};

/** How many contacts among the members have a presence flag that @p counts accepts. */
template <class Counts>
int countContacts(const MivoBuddyGroup& group, Counts counts)
{
    MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(group);
    if (!record)
        return -1;
    const QMutexLocker locker(&record->lock);
    int result = 0;
    for (int i = 0; i < record->children.size(); ++i) {
        const MivoBuddyPrivate* const child = MivoBuddyPrivate::get(record->children.at(i));
        if (!child || child->type != MivoBuddy::Contact)
            continue;
        const MivoBuddyContactPrivate* const contact
            = static_cast<const MivoBuddyContactPrivate*>(child->kindData);
        if (counts(contact ? PresenceFlag::of(contact->presence) : MivoPresence::NoFlag))
            ++result;
    }
    return result;
}

} // namespace

MivoBuddyGroupPrivate::MivoBuddyGroupPrivate()
    : expanded(false)
{
}

MivoBuddyGroupPrivate::~MivoBuddyGroupPrivate() = default;

MivoBuddyGroup::MivoBuddyGroup() = default;

MivoBuddyGroup::MivoBuddyGroup(const QString& display)
    : MivoBuddy(display, Group)
{
    MivoBuddyPrivate::setKindRecord(*this, new (std::nothrow) MivoBuddyGroupPrivate);
}

MivoBuddyGroup::MivoBuddyGroup(const MivoBuddy& other)
    : MivoBuddy(Group, other)
{
}

MivoBuddyGroup::MivoBuddyGroup(const MivoBuddyGroup& other) = default;

MivoBuddyGroup::MivoBuddyGroup(MivoBuddyGroup&& other) noexcept = default;

MivoBuddyGroup::~MivoBuddyGroup() = default;

MivoBuddyGroup& MivoBuddyGroup::operator=(const MivoBuddyGroup& other) = default;

MivoBuddyGroup& MivoBuddyGroup::operator=(MivoBuddyGroup&& other) noexcept = default;

bool MivoBuddyGroup::containsMeta(const QString& name) const
{
    const MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(*this);
    return record && MivoBuddyContainer(*this).containsMeta(record->metas, name);
}

bool MivoBuddyGroup::containsBuddy(const MivoBuddy& buddy) const
{
    return MivoBuddyContainer(*this).contains(buddy);
}

bool MivoBuddyGroup::containsContact(const MivoBuddyContact& contact) const
{
    return MivoBuddyContainer(*this).containsContact(contact);
}

bool MivoBuddyGroup::isExpanded() const
{
    const MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(*this);
    return record && record->expanded;
}

void MivoBuddyGroup::setExpanded(bool expanded)
{
    if (MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(*this))
        record->expanded = expanded;
}

MivoBuddy MivoBuddyGroup::buddyAt(int i) const
{
    return MivoBuddyContainer(*this).at(i);
}

int MivoBuddyGroup::childCount() const
{
    return MivoBuddyContainer(*this).count();
}

QList<MivoBuddy> MivoBuddyGroup::buddies() const
{
    return MivoBuddyContainer(*this).members();
}

int MivoBuddyGroup::onlineChildCount() const
{
    return countContacts(*this,
                         [](MivoPresence::Flag flag) { return flag != MivoPresence::Offline; });
}

int MivoBuddyGroup::statusChildCount(MivoPresence::Flag wanted) const
{
    return countContacts(*this, [wanted](MivoPresence::Flag flag) { return flag == wanted; });
}

bool MivoBuddyGroup::addBuddy(const MivoBuddy& buddy)
{
    return MivoBuddyContainer(*this).add(buddy);
}

int MivoBuddyGroup::removeBuddy(const MivoBuddy& buddy)
{
    return MivoBuddyContainer(*this).remove(buddy);
}

MivoBuddy MivoBuddyGroup::removeAt(int i)
{
    return MivoBuddyContainer(*this).takeAt(i);
}

MivoBuddyMeta MivoBuddyGroup::addMeta(const QString& name)
{
    MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(*this);
    if (!record)
        return MivoBuddyMeta();
    const QMutexLocker locker(&record->lock);
    const QHash<QString, MivoBuddyMeta>::const_iterator known = record->metas.constFind(name);
    if (known != record->metas.constEnd())
        return known.value();
    const MivoBuddyMeta meta(name);
    if (meta.isValid())
        MivoBuddyContainer(*this).addNewMeta(record->metas, meta);
    return meta;
}

void MivoBuddyGroup::clear()
{
    if (MivoBuddyGroupPrivate* const record = MivoBuddyGroupPrivate::get(*this))
        MivoBuddyContainer(*this).clear(&record->metas);
}

void MivoBuddyGroup::sort()
{
    MivoBuddyContainer(*this).sort();
}
