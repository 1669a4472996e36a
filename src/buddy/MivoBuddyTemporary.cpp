#include "MivoBuddyTemporary.h"

#include "MivoBuddyTemporary_p.h"

MivoBuddyTemporaryPrivate::MivoBuddyTemporaryPrivate(MivoAccountConnection* ownAccount,
                                                     const QString& ownId,
                                                     const MivoPresence& ownPresence,
                                                     const MivoBuddyGroup& ownGroup)
    : account(ownAccount)
    , id(ownId)
    , presence(ownPresence)
    , group(ownGroup)
{
}

MivoBuddyTemporaryPrivate::~MivoBuddyTemporaryPrivate() = default;

MivoBuddyTemporary::MivoBuddyTemporary() = default;

MivoBuddyTemporary::MivoBuddyTemporary(MivoAccountConnection* account, const QString& id,
                                       const MivoPresence& presence, const MivoBuddyGroup& group)
    : MivoBuddy(id, Temporary)
{
    MivoBuddyPrivate::setKindRecord(
        *this, new (std::nothrow) MivoBuddyTemporaryPrivate(account, id, presence, group));
}

MivoBuddyTemporary::MivoBuddyTemporary(const MivoBuddy& other)
    : MivoBuddy(Temporary, other)
{
}

MivoBuddyTemporary::MivoBuddyTemporary(const MivoBuddyTemporary& other) = default;

MivoBuddyTemporary::MivoBuddyTemporary(MivoBuddyTemporary&& other) noexcept = default;

MivoBuddyTemporary::~MivoBuddyTemporary() = default;

MivoBuddyTemporary& MivoBuddyTemporary::operator=(const MivoBuddyTemporary& other) = default;

MivoBuddyTemporary& MivoBuddyTemporary::operator=(MivoBuddyTemporary&& other) noexcept = default;

MivoAccountConnection* MivoBuddyTemporary::getAccount() const
{
    const MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this);
    return record ? record->account : nullptr;
}

QString MivoBuddyTemporary::getId() const
{
    const MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this);
    return record ? record->id : QString();
}

MivoPresence MivoBuddyTemporary::getPresence() const
{
    const MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this);
    return record ? record->presence : MivoPresence();
}

void MivoBuddyTemporary::setPresence(const MivoPresence& presence)
{
    if (MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this))
        record->presence = presence;
}

MivoBuddyGroup MivoBuddyTemporary::getGroup() const
{
    return getType() == Temporary ? MivoBuddyPrivate::get(*this)->backLink() : MivoBuddy();
}

QList<MivoBuddyResource> MivoBuddyTemporary::getResources() const
{
    const MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this);
    return record ? record->resources : QList<MivoBuddyResource>();
}

void MivoBuddyTemporary::setResources(const QList<MivoBuddyResource>& resources)
{
    if (MivoBuddyTemporaryPrivate* const record = MivoBuddyTemporaryPrivate::get(*this))
        record->resources = resources;
}
