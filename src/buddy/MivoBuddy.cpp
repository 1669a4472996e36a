#include "MivoBuddy.h"

#include "MivoBuddyContact_p.h"
#include "MivoBuddyGroup_p.h"
#include "MivoBuddyMerged_p.h"
#include "MivoBuddyMeta_p.h"
#include "MivoBuddyTemporary_p.h"
#include "MivoBuddy_p.h"

#include <QMutexLocker>

namespace {

/** A kind record whose entry has lost its last handle. */
struct DeadKindRecord
{
    MivoBuddy::Type type;
    void* data;

    void destroy() const
    {
        switch (type) {
        case MivoBuddy::Group:
            delete static_cast<MivoBuddyGroupPrivate*>(data);
            break;
        case MivoBuddy::Meta:
            delete static_cast<MivoBuddyMetaPrivate*>(data);
            break;
        case MivoBuddy::Contact:
            delete static_cast<MivoBuddyContactPrivate*>(data);
            break;
        case MivoBuddy::Merged:
            delete static_cast<MivoBuddyMergedPrivate*>(data);
            break;
        case MivoBuddy::Temporary:
            delete static_cast<MivoBuddyTemporaryPrivate*>(data);
            break;
        default:
            break;
        }
    }
};

} // namespace

MivoBuddyPrivate::MivoBuddyPrivate(const QString& displayName, MivoBuddy::Type kind)
    : ref(1)
    , display(displayName)
    , type(kind)
    , unreadMessages(0)
    , kindData(nullptr)
{
}

MivoBuddyPrivate::~MivoBuddyPrivate()
{
    // Entries hold handles of each other: chains of them must not recurse.
    if (kindData)
        mivoDestroyFlat(DeadKindRecord{type, kindData});
}

MivoBuddy* MivoBuddyPrivate::link() const
{
    if (!kindData)
        return nullptr;
    switch (type) {
    case MivoBuddy::Meta:
        return &static_cast<MivoBuddyMetaPrivate*>(kindData)->group;
    case MivoBuddy::Contact:
        return &static_cast<MivoBuddyContactPrivate*>(kindData)->parent;
    case MivoBuddy::Merged:
        return &static_cast<MivoBuddyMergedPrivate*>(kindData)->parent;
    case MivoBuddy::Temporary:
        return &static_cast<MivoBuddyTemporaryPrivate*>(kindData)->group;
    default:
        return nullptr;
    }
}

MivoBuddy MivoBuddyPrivate::backLink() const
{
    const QMutexLocker locker(&linkLock);
    const MivoBuddy* const current = link();
    return current ? *current : MivoBuddy();
}

const MivoBuddyPrivate* MivoBuddyPrivate::backLinkAddress() const
{
    const QMutexLocker locker(&linkLock);
    const MivoBuddy* const current = link();
    return current ? current->d : nullptr;
}

MivoBuddy MivoBuddyPrivate::setBackLink(const MivoBuddy& container)
{
    MivoBuddy previous;
    const QMutexLocker locker(&linkLock);
    if (MivoBuddy* const current = link()) {
        previous = container;
        swap(*current, previous);
    }
    return previous;
}

bool MivoBuddyPrivate::replaceBackLink(const MivoBuddy& expected, const MivoBuddy& container)
{
    MivoBuddy released;
    const QMutexLocker locker(&linkLock);
    MivoBuddy* const current = link();
    if (!current)
        return !expected.isValid();
    if (*current != expected)
        return false;
    released = container;
    swap(*current, released);
    return true;
}

bool MivoBuddyPrivate::exchangeBackLinkUnlessElsewhere(MivoBuddy& container)
{
    const QMutexLocker locker(&linkLock);
    MivoBuddy* const current = link();
    if (!current)
        return true;
    const MivoBuddyPrivate* const old = current->d;
    if (old && old != container.d && old->kindData
        && (old->type == MivoBuddy::Group || old->type == MivoBuddy::Meta))
        return false;
    swap(*current, container);
    return true;
}

MivoBuddy::MivoBuddy()
    : d(nullptr)
{
}

MivoBuddy::MivoBuddy(const QString& display, Type type)
    : d(new (std::nothrow) MivoBuddyPrivate(display, type))
{
}

MivoBuddy::MivoBuddy(const MivoBuddy& other)
    : d(other.d)
{
    tAtomicAttach(d);
}

MivoBuddy::MivoBuddy(MivoBuddy&& other) noexcept
    : d(other.d)
{
    other.d = nullptr;
}

MivoBuddy::MivoBuddy(Type type, const MivoBuddy& other)
    : d(other.getType() == type ? other.d : nullptr)
{
    tAtomicAttach(d);
}

MivoBuddy::~MivoBuddy()
{
    tAtomicDetach(d);
}

MivoBuddy& MivoBuddy::operator=(const MivoBuddy& other)
{
    if (d != other.d) {
        // Both this handle and the other may live inside the record that is released.
        MivoBuddyPrivate* const released = d;
        d = other.d;
        tAtomicAttach(d);
        tAtomicDetach(released);
    }
    return *this;
}

MivoBuddy& MivoBuddy::operator=(MivoBuddy&& other) noexcept
{
    // In this order for the same reason; it also leaves a handle that is moved to itself alone.
    MivoBuddyPrivate* const taken = other.d;
    other.d = nullptr;
    MivoBuddyPrivate* const released = d;
    d = taken;
    tAtomicDetach(released);
    return *this;
}

bool MivoBuddy::operator==(const MivoBuddy& other) const
{
    return d == other.d;
}

bool MivoBuddy::operator!=(const MivoBuddy& other) const
{
    return !(*this == other);
}

bool MivoBuddy::isValid() const
{
    return d;
}

MivoBuddy::Type MivoBuddy::getType() const
{
    return d ? d->type : Invalid;
}

QString MivoBuddy::getDisplay() const
{
    return d ? d->display : QString();
}

int MivoBuddy::unreadMessages() const
{
    return d ? d->unreadMessages : 0;
}

void MivoBuddy::setUnreadMessages(int count)
{
    if (d)
        d->unreadMessages = count;
}

uint qHash(const MivoBuddy& buddy)
{
    const quintptr address = reinterpret_cast<quintptr>(MivoBuddyPrivate::get(buddy));
    return sizeof(address) > sizeof(uint) ? static_cast<uint>((address >> 31) ^ address)
                                          : static_cast<uint>(address);
}

bool buddyLessThan(const MivoBuddy&, const MivoBuddy&)
{
    return true;
}

bool groupLessThan(const MivoBuddy& a, const MivoBuddy& b)
{
    if (a.getType() != MivoBuddy::Group || b.getType() != MivoBuddy::Group)
        return true;
    return a.getDisplay().toLower() < b.getDisplay().toLower();
}
