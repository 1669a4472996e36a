#include "MivoContactType.h"

#include "MivoBuddyType_p.h"
#include "MivoField.h"
#include "MivoPresenceType.h"

#include <memory>
#include <new>

MivoContactType::MivoContactType(const QString& id, const QString& display)
    : made(id, display)
{
    if (!made.isValid())
        throw std::bad_alloc();
}

MivoContactType::MivoContactType(const MivoBuddyType& type)
    : made(type)
{
}

MivoContactType::~MivoContactType() = default;

MivoPresenceType* MivoContactType::addPresence(const QString& id, const QString& display,
                                               quint32 priority, int flag, const QString& icon)
{
    MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(made);
    if (!record || record->presences.contains(id))
        return nullptr;
    std::unique_ptr<MivoPresenceType> added(new MivoPresenceType);
    added->id = id;
    added->display = display;
    added->icon = icon;
    added->priority = priority;
    added->flag = static_cast<MivoPresence::Flag>(flag);
    record->presenceList.append(added.get());
    try {
        record->presences.insert(id, added.get());
    } catch (...) {
        record->presenceList.removeLast();
        throw;
    }
    return added.release();
}

bool MivoContactType::addSubscription(const MivoSubscriptionType& subscription)
{
    if (!made.isValid())
        return false;
    QList<MivoSubscriptionType*>& subscriptions = MivoBuddyTypePrivate::get(made)->subscriptions;
    for (int i = 0; i < int(subscriptions.size()); ++i) {
        if (subscriptions.at(i)->getId() == subscription.getId())
            return false;
    }
    std::unique_ptr<MivoSubscriptionType> added(new MivoSubscriptionType(subscription));
    subscriptions.append(added.get());
    static_cast<void>(added.release());
    return true;
}

void MivoContactType::addExtraInfoField(const MivoField& field)
{
    if (made.isValid())
        MivoBuddyTypePrivate::get(made)->extraInfoFields.append(field);
}

MivoPresenceType* MivoContactType::presence(const QString& id) const
{
    return made.isValid() ? MivoBuddyTypePrivate::get(made)->presences.value(id) : nullptr;
}

QList<MivoPresenceType*> MivoContactType::presences() const
{
    return made.isValid() ? MivoBuddyTypePrivate::get(made)->presenceList
                          : QList<MivoPresenceType*>();
}

MivoBuddyType MivoContactType::type() const
{
    return made;
}
