#include "MivoBuddyMerged.h"

#include "MivoBuddyMerged_p.h"
#include "MivoBuddyResource.h"
#include "MivoPresence.h"

namespace {

QString ownDisplay(const QString& display, const QList<MivoBuddyContact>& contacts)
{
    return display.isEmpty() && !contacts.isEmpty() ? contacts.first().getId() : display;
}

/** The contacts of @p merged; none for an invalid handle. */
QList<MivoBuddyContact> contactsOf(const MivoBuddyMerged& merged)
{
    const MivoBuddyMergedPrivate* const record = MivoBuddyMergedPrivate::get(merged);
    return record ? record->contacts : QList<MivoBuddyContact>();
}

/** The contact that speaks for all; an invalid one when there is none. */
MivoBuddyContact firstOf(const MivoBuddyMerged& merged)
{
    return contactsOf(merged).value(0);
}

} // namespace

MivoBuddyMergedPrivate::MivoBuddyMergedPrivate(const QList<MivoBuddyContact>& ownContacts)
    : contacts(ownContacts)
{
}

MivoBuddyMergedPrivate::~MivoBuddyMergedPrivate() = default;

bool MivoBuddyMergedPrivate::contains(const MivoBuddy& merged, const MivoBuddyContact& contact)
{
    const MivoBuddyMergedPrivate* const record = get(merged);
    const MivoBuddyPrivate* const wanted = MivoBuddyPrivate::get(contact);
    for (int i = 0; record && i < record->contacts.size(); ++i) {
        if (MivoBuddyPrivate::get(record->contacts.at(i)) == wanted)
            return true;
    }
    return false;
}

MivoBuddyMerged::MivoBuddyMerged() = default;

MivoBuddyMerged::MivoBuddyMerged(const QString& display, const QList<MivoBuddyContact>& contacts)
    : MivoBuddy(ownDisplay(display, contacts), Merged)
{
    MivoBuddyPrivate::setKindRecord(*this, new (std::nothrow) MivoBuddyMergedPrivate(contacts));
}

MivoBuddyMerged::MivoBuddyMerged(const MivoBuddy& other)
    : MivoBuddy(Merged, other)
{
}

MivoBuddyMerged::MivoBuddyMerged(const MivoBuddyMerged& other) = default;

MivoBuddyMerged::MivoBuddyMerged(MivoBuddyMerged&& other) noexcept = default;

MivoBuddyMerged::~MivoBuddyMerged() = default;

MivoBuddyMerged& MivoBuddyMerged::operator=(const MivoBuddyMerged& other) = default;

MivoBuddyMerged& MivoBuddyMerged::operator=(MivoBuddyMerged&& other) noexcept = default;

bool MivoBuddyMerged::containsContact(const MivoBuddyContact& contact) const
{
    return MivoBuddyMergedPrivate::contains(*this, contact);
}

QString MivoBuddyMerged::getDisplay() const
{
    return firstOf(*this).getDisplay();
}

QString MivoBuddyMerged::getId() const
{
    return firstOf(*this).getId();
}

QString MivoBuddyMerged::getAvatarPath() const
{
    return firstOf(*this).getAvatarPath();
}

MivoPresence MivoBuddyMerged::getPresence() const
{
    return firstOf(*this).getPresence();
}

QList<MivoBuddyResource> MivoBuddyMerged::getResources() const
{
    return firstOf(*this).getResources();
}

MivoBuddy MivoBuddyMerged::getParent() const
{
    return getType() == Merged ? MivoBuddyPrivate::get(*this)->backLink() : MivoBuddy();
}

QList<MivoAccountConnection*> MivoBuddyMerged::getAccounts() const
{
    const QList<MivoBuddyContact> contacts = contactsOf(*this);
    QList<MivoAccountConnection*> accounts;
    for (int i = 0; i < contacts.size(); ++i)
        accounts.append(contacts.at(i).getAccount());
    return accounts;
}

MivoBuddyContact MivoBuddyMerged::getContactForAccount(MivoAccountConnection* account) const
{
    const QList<MivoBuddyContact> contacts = contactsOf(*this);
    for (int i = 0; i < contacts.size(); ++i) {
        if (contacts.at(i).getAccount() == account)
            return contacts.at(i);
    }
    return MivoBuddyContact();
}

void MivoBuddyMerged::setContacts(const QList<MivoBuddyContact>& contacts)
{
    if (MivoBuddyMergedPrivate* const record = MivoBuddyMergedPrivate::get(*this))
        record->contacts = contacts;
}
