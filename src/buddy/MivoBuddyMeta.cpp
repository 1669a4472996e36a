#include "MivoBuddyMeta.h"

#include "MivoBuddyContainer_p.h"
#include "MivoBuddyIndex_p.h"
#include "MivoBuddyMeta_p.h"

MivoBuddyMetaPrivate::MivoBuddyMetaPrivate()
    : expanded(false)
{
}

MivoBuddyMetaPrivate::~MivoBuddyMetaPrivate() = default;

MivoBuddyMeta::MivoBuddyMeta() = default;

MivoBuddyMeta::MivoBuddyMeta(const QString& display)
    : MivoBuddy(display, Meta)
{
    MivoBuddyPrivate::setKindRecord(*this, new (std::nothrow) MivoBuddyMetaPrivate);
}

MivoBuddyMeta::MivoBuddyMeta(const MivoBuddy& other)
    : MivoBuddy(Meta, other)
{
}

MivoBuddyMeta::MivoBuddyMeta(const MivoBuddyMeta& other) = default;

MivoBuddyMeta::MivoBuddyMeta(MivoBuddyMeta&& other) noexcept = default;

MivoBuddyMeta::~MivoBuddyMeta() = default;

MivoBuddyMeta& MivoBuddyMeta::operator=(const MivoBuddyMeta& other) = default;

MivoBuddyMeta& MivoBuddyMeta::operator=(MivoBuddyMeta&& other) noexcept = default;

bool MivoBuddyMeta::containsContact(const MivoBuddyContact& contact) const
{
    return MivoBuddyContainer(*this).containsContact(contact);
}

bool MivoBuddyMeta::isExpanded() const
{
    const MivoBuddyMetaPrivate* const record = MivoBuddyMetaPrivate::get(*this);
    return record && record->expanded;
}

void MivoBuddyMeta::setExpanded(bool expanded)
{
    if (MivoBuddyMetaPrivate* const record = MivoBuddyMetaPrivate::get(*this))
        record->expanded = expanded;
}

MivoBuddyGroup MivoBuddyMeta::getGroup() const
{
    return getType() == Meta ? MivoBuddyPrivate::get(*this)->backLink() : MivoBuddy();
}

MivoBuddy MivoBuddyMeta::buddyAt(int i) const
{
    return MivoBuddyContainer(*this).at(i);
}

int MivoBuddyMeta::childCount() const
{
    return MivoBuddyContainer(*this).count();
}

QList<MivoBuddy> MivoBuddyMeta::buddies() const
{
    return MivoBuddyContainer(*this).members();
}

bool MivoBuddyMeta::addBuddy(const MivoBuddy& buddy)
{
    return MivoBuddyContainer(*this).add(buddy);
}

int MivoBuddyMeta::removeBuddy(const MivoBuddy& buddy)
{
    return MivoBuddyContainer(*this).remove(buddy);
}

MivoBuddy MivoBuddyMeta::removeAt(int i)
{
    return MivoBuddyContainer(*this).takeAt(i);
}

void MivoBuddyMeta::clear()
{
    MivoBuddyContainer(*this).clear(nullptr);
}

void MivoBuddyMeta::sort()
{
    MivoBuddyContainer(*this).sort();
}
