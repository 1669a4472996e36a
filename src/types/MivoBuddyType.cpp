#include "MivoBuddyType.h"

#include "MivoBuddyType_p.h"
#include "MivoPresenceType.h"
#include "MivoShared_p.h"
#include "MivoSubscriptionType.h"

#include <QtAlgorithms>

#include <new>
#include <utility>

MivoBuddyTypePrivate::MivoBuddyTypePrivate()
    : ref(1)
{
}

MivoBuddyTypePrivate::~MivoBuddyTypePrivate() = default;

MivoPresenceType* MivoBuddyTypePrivate::getPresenceWithFlag(MivoPresence::Flag flag) const
{
    QHash<QString, MivoPresenceType*>::const_iterator it = presences.constBegin();
    for (; it != presences.constEnd(); ++it) {
        if (it.value()->flag == flag)
            return it.value();
    }
    return nullptr;
}

MivoBuddyType::MivoBuddyType()
    : d(nullptr)
{
}

MivoBuddyType::MivoBuddyType(const QString& id, const QString& display)
    : d(new (std::nothrow) MivoBuddyTypePrivate)
{
    if (d) {
        d->id = id;
        d->display = display;
    }
}

MivoBuddyType::MivoBuddyType(const MivoBuddyType& other)
    : d(other.d)
{
    tAtomicAttach(d);
}

MivoBuddyType::MivoBuddyType(MivoBuddyType&& other) noexcept
    : d(std::exchange(other.d, nullptr))
{
}

MivoBuddyType::~MivoBuddyType()
{
    if (d && !d->ref.deref()) {
        qDeleteAll(d->presences);
        qDeleteAll(d->subscriptions);
        delete d;
    }
}

MivoBuddyType& MivoBuddyType::operator=(const MivoBuddyType& other)
{
    if (d != other.d) {
        // Not as in the destructor: who assigns keeps the descriptors.
        MivoBuddyTypePrivate* const released = d;
        d = other.d;
        tAtomicAttach(d);
        tAtomicDetach(released);
    }
    return *this;
}

MivoBuddyType& MivoBuddyType::operator=(MivoBuddyType&& other) noexcept
{
    MivoBuddyTypePrivate* const taken = std::exchange(other.d, nullptr);
    tAtomicDetach(std::exchange(d, taken));
    return *this;
}

bool MivoBuddyType::isValid() const
{
    return d;
}

QString MivoBuddyType::getId() const
{
    return d ? d->id : QString();
}

QString MivoBuddyType::getDisplay() const
{
    return d ? d->display : QString();
}

QList<MivoField> MivoBuddyType::getExtraInfoFields() const
{
    return d ? d->extraInfoFields : QList<MivoField>();
}

MivoSubscriptionType MivoBuddyType::getSubscriptionWithId(const QString& id) const
{
    if (d) {
        for (int i = 0; i < d->subscriptions.size(); ++i) {
            if (d->subscriptions.at(i)->getId() == id)
                return *d->subscriptions.at(i);
        }
    }
    return MivoSubscriptionType(QLatin1String(""), QLatin1String(""), 0, QString());
}
