#include "MivoBuddyContact.h"

#include "MivoBuddyContact_p.h"

MivoBuddyContactPrivate::MivoBuddyContactPrivate(MivoAccountConnection* ownAccount,
                                                 const MivoBuddyType& ownType, const QString& ownId,
                                                 const MivoPresence& ownPresence,
                                                 const MivoSubscriptionType& ownSubscription)
    : account(ownAccount)
    , type(ownType)
    , id(ownId)
    , presence(ownPresence)
    , subscription(ownSubscription)
{
    const QList<MivoField> fields = type.getExtraInfoFields();
    for (int i = 0; i < fields.size(); ++i)
        extraInfo.insert(fields.at(i).getId(), fields.at(i));
}

MivoBuddyContactPrivate::~MivoBuddyContactPrivate() = default;

MivoBuddyContact::MivoBuddyContact() = default;

MivoBuddyContact::MivoBuddyContact(MivoAccountConnection* account, const QString& id,
                                   const QString& display, const MivoBuddyType& type,
                                   const MivoPresence& presence,
                                   const MivoSubscriptionType& subscription)
    : MivoBuddy(display, Contact)
{
    MivoBuddyPrivate::setKindRecord(
        *this,
        new (std::nothrow) MivoBuddyContactPrivate(account, type, id, presence, subscription));
}

MivoBuddyContact::MivoBuddyContact(const MivoBuddy& other)
    : MivoBuddy(Contact, other)
{
}

MivoBuddyContact::MivoBuddyContact(const MivoBuddyContact& other) = default;

MivoBuddyContact::MivoBuddyContact(MivoBuddyContact&& other) noexcept = default;

MivoBuddyContact::~MivoBuddyContact() = default;

MivoBuddyContact& MivoBuddyContact::operator=(const MivoBuddyContact& other) = default;

MivoBuddyContact& MivoBuddyContact::operator=(MivoBuddyContact&& other) noexcept = default;

MivoAccountConnection* MivoBuddyContact::getAccount() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->account : nullptr;
}

void MivoBuddyContact::setAccount(MivoAccountConnection* account)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->account = account;
}

QString MivoBuddyContact::getId() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->id : QString();
}

QString MivoBuddyContact::getTypeId() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->type.getId() : QString();
}

MivoPresence MivoBuddyContact::getPresence() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->presence : MivoPresence();
}

void MivoBuddyContact::setPresence(const MivoPresence& presence)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->presence = presence;
}

MivoSubscriptionType MivoBuddyContact::getSubscription() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->subscription : MivoSubscriptionType(QString(), QString(), 0, QString());
}

void MivoBuddyContact::setSubscription(const MivoSubscriptionType& subscription)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->subscription = subscription;
}

QList<MivoBuddyResource> MivoBuddyContact::getResources() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->resources : QList<MivoBuddyResource>();
}

void MivoBuddyContact::setResources(const QList<MivoBuddyResource>& resources)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->resources = resources;
}

QString MivoBuddyContact::getAvatarPath() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->avatarPath : QString();
}

void MivoBuddyContact::setAvatarPath(const QString& path)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->avatarPath = path;
}

MivoBuddy MivoBuddyContact::getParent() const
{
    return getType() == Contact ? MivoBuddyPrivate::get(*this)->backLink() : MivoBuddy();
}

MivoBuddyResource MivoBuddyContact::getActiveResource() const
{
    MivoBuddyResource best;
    if (const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this)) {
        for (int i = 0; i < record->resources.size(); ++i) {
            const MivoBuddyResource& candidate = record->resources.at(i);
            // Signed, so that an invalid resource's 0xFFFFFFFF lies below every other priority.
            if (static_cast<int>(candidate.getPriority()) > static_cast<int>(best.getPriority()))
                best = candidate;
        }
    }
    return best;
}

QString MivoBuddyContact::getPresenceIcon() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    if (!record)
        return QString();
    const QString icon = record->subscription.getIcon();
    return icon.isEmpty() ? record->presence.getIcon() : icon;
}

MivoArg MivoBuddyContact::getAttrib(QString name) const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->attribs.value(name) : MivoArg();
}

QHash<QString, MivoArg> MivoBuddyContact::getAttribs() const
{
    const MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    return record ? record->attribs : QHash<QString, MivoArg>();
}

void MivoBuddyContact::setAttribs(const QHash<QString, MivoArg>& attribs)
{
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this))
        record->attribs = attribs;
}

QList<MivoField> MivoBuddyContact::getExtraInfo() const
{
    QList<MivoField> result;
    if (MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this)) {
        const QList<MivoField> fields = record->type.getExtraInfoFields();
        for (int i = 0; i < fields.size(); ++i)
            result.append(record->extraInfo[fields.at(i).getId()]);
    }
    return result;
}

bool MivoBuddyContact::setFieldValue(const QString& id, const MivoArg& value)
{
    MivoBuddyContactPrivate* const record = MivoBuddyContactPrivate::get(*this);
    if (!record)
        return false;
    const QHash<QString, MivoField>::iterator field = record->extraInfo.find(id);
    if (field == record->extraInfo.end())
        return false;
    MivoArg::setFieldValue(field.value(), value);
    return true;
}

void MivoBuddyContact::setFieldValues(const QList<MivoField>& fields)
{
    for (int i = 0; i < fields.size(); ++i)
        setFieldValue(fields.at(i).getId(), fields.at(i).getValue());
}
