#include "Contacts.h"

#include <MivoAccountConnection.h>
#include <MivoArg.h>
#include <MivoBuddyContact_p.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoField.h>

#include <algorithm>

namespace {

const char noGroup[] = "Without a group";
const char strangersGroup[] = "Not on the roster";
const int longestShownName = 200;

struct UsualPresence
{
    const char* id;
    const char* display;
    quint32 priority;
    int flag;
    const char* icon;
};

const UsualPresence usualPresences[] = {
    {"chat", "Free for chat", 5, MivoContactType::FreeForChat, "user-available"},
    {"online", "Online", 4, MivoContactType::Online, "user-available"},
    {"away", "Away", 3, MivoContactType::Away, "user-away"},
    {"xa", "Extended away", 2, MivoContactType::ExtendedAway, "user-away-extended"},
    {"dnd", "Do not disturb", 1, MivoContactType::DoNotDisturb, "user-busy"},
    {"offline", "Offline", 0, MivoContactType::Offline, "user-offline"},
};

/** A name as it is shown: one that the other side has made enormous is cut. */
QString shownName(const QString& name)
{
    return name.size() <= longestShownName ? name : name.left(longestShownName) + QChar(0x2026);
}

QString subscriptionId(const RosterItem& item)
{
    return item.isAsked ? item.subscription + "+ask" : item.subscription;
}

} // namespace

Contacts::Contacts(QObject* parent)
    : QObject(parent)
    , type("xmpp", "XMPP")
{
    for (const UsualPresence& usual : usualPresences)
        type.addPresence(usual.id, usual.display, usual.priority, usual.flag, usual.icon);
    quint32 priority = 0;
    for (const char* state : {"none", "from", "to", "both"}) {
        type.addSubscription(MivoSubscriptionType(state, state, priority++, QString()));
        type.addSubscription(MivoSubscriptionType(
            QString("%1, asked").arg(state), QString("%1+ask").arg(state), priority++, QString()));
    }
    QByteArray noPicture;
    type.addExtraInfoField(MivoField("picture", noPicture, QString()));
    teller.setSingleShot(true);
    connect(&teller, &QTimer::timeout, this, &Contacts::tell);
}

Contacts::~Contacts()
{
    for (auto& made : groupsByKey) {
        while (made.second.childCount() > 0)
            made.second.removeBuddy(made.second.buddyAt(made.second.childCount() - 1));
    }
    // Presences and resources point to what ends with this object, the handles of others do not.
    for (const auto& one : known) {
        if (MivoBuddyContact contact = one.second.handle; contact.isValid()) {
            contact.setResources({});
            contact.setPresence(MivoPresence(type.presence("offline"), QString()));
        } else {
            MivoBuddyTemporary(one.second.handle).setResources({});
            MivoBuddyTemporary(one.second.handle).setPresence(MivoPresence());
        }
    }
}

QList<MivoBuddyGroup> Contacts::groups() const
{
    QList<MivoBuddyGroup> shown;
    for (const auto& made : groupsByKey) {
        if (made.second.childCount() > 0)
            shown.append(made.second);
    }
    std::stable_sort(shown.begin(), shown.end(), groupLessThan);
    return shown;
}

QList<MivoBuddy> Contacts::entries(const MivoAccountConnection* account) const
{
    QList<MivoBuddy> found;
    for (const auto& one : known) {
        if (!account || one.second.account == account)
            found.append(one.second.handle);
    }
    return found;
}

Contacts::EntryKey Contacts::keyOf(const MivoAccountConnection* account, const Jid& address)
{
    return EntryKey(account, Jid(address.bare()).key());
}

Contacts::Entry* Contacts::entry(const MivoAccountConnection* account, const Jid& address)
{
    const auto found = known.find(keyOf(account, address));
    return found != known.end() ? &found->second : nullptr;
}

const Contacts::Entry* Contacts::entry(const MivoAccountConnection* account,
                                       const Jid& address) const
{
    const auto found = known.find(keyOf(account, address));
    return found != known.end() ? &found->second : nullptr;
}

MivoBuddy Contacts::find(const MivoAccountConnection* account, const Jid& address) const
{
    const Entry* const found = entry(account, address);
    return found ? found->handle : MivoBuddy();
}

MivoBuddy Contacts::findOrAdd(MivoAccountConnection* account, const Jid& address)
{
    if (const Entry* const found = entry(account, address))
        return found->handle;
    const GroupKey strangers(true, strangersGroup);
    const MivoPresence offline(type.presence("offline"), QString());
    const MivoBuddyTemporary made(account, address.bare(), offline, group(strangers));
    add(keyOf(account, address), {account, RosterItem(), made, strangers, {}, {}, {}});
    return made;
}

const RosterItem* Contacts::item(const MivoAccountConnection* account, const Jid& address) const
{
    const Entry* const found = entry(account, address);
    return found && found->handle.getType() == MivoBuddy::Contact ? &found->item : nullptr;
}

QString Contacts::groupOf(const MivoAccountConnection* account, const Jid& address) const
{
    const Entry* const found = entry(account, address);
    return found && !found->group.first ? found->group.second : QString();
}

QMap<QString, ClientPresence> Contacts::clients(const MivoAccountConnection* account,
                                                const Jid& address) const
{
    const Entry* const found = entry(account, address);
    return found ? found->clients : QMap<QString, ClientPresence>();
}

MivoBuddyGroup Contacts::group(const GroupKey& key)
{
    const auto made = groupsByKey.find(key);
    if (made != groupsByKey.end())
        return made->second;
    return groupsByKey.emplace(key, MivoBuddyGroup(shownName(key.second))).first->second;
}

/** The group that a contact is shown in stays as long as it is among its groups. */
Contacts::GroupKey Contacts::groupFor(const RosterItem& item, const GroupKey& current) const
{
    if (!current.first && item.groups.contains(current.second))
        return current;
    for (const QString& name : item.groups) {
        if (!name.trimmed().isEmpty())
            return GroupKey(false, name);
    }
    return GroupKey(true, noGroup);
}

MivoBuddyContact Contacts::newContact(MivoAccountConnection* account, const RosterItem& item) const
{
    const QString display = item.name.trimmed().isEmpty() ? item.address : shownName(item.name);
    return MivoBuddyContact(account, item.address, display, type.type(),
                            MivoPresence(type.presence("offline"), QString()),
                            type.type().getSubscriptionWithId(subscriptionId(item)));
}

void Contacts::setItem(MivoAccountConnection* account, const RosterItem& item)
{
    const EntryKey key = keyOf(account, Jid(item.address));
    Entry* const present = entry(account, Jid(item.address));
    if (!present || present->handle.getType() != MivoBuddy::Contact) {
        MivoBuddyContact contact = newContact(account, item);
        if (present) { // who has written before is on the roster now
            contact.setUnreadMessages(present->handle.unreadMessages());
            remove(key); // takes the temporary contact away
        }
        add(key, {account, item, contact, groupFor(item, GroupKey(true, QString())), {}, {}, {}});
        return;
    }

    MivoBuddyContact contact = present->handle;
    if (present->item.name != item.name) {
        const MivoBuddyContact renamed = newContact(account, item);
        MivoBuddyContactPrivate* const to = MivoBuddyContactPrivate::get(renamed);
        const MivoBuddyContactPrivate* const from = MivoBuddyContactPrivate::get(contact);
        to->presence = from->presence;
        to->resources = from->resources;
        to->attribs = from->attribs;
        to->extraInfo = from->extraInfo;
        to->avatarPath = from->avatarPath;
        present->handle = renamed;
        present->handle.setUnreadMessages(contact.unreadMessages());
        contact = renamed;
    }
    contact.setSubscription(type.type().getSubscriptionWithId(subscriptionId(item)));
    present->item = item;
    present->group = groupFor(item, present->group);
    place(key.second);
    noteChange(*present);
}

void Contacts::removeItem(MivoAccountConnection* account, const Jid& address)
{
    if (item(account, address))
        remove(keyOf(account, address));
}

void Contacts::keepOnly(MivoAccountConnection* account, const QSet<QString>& keys)
{
    QList<EntryKey> gone;
    for (const auto& one : known) {
        if (one.second.account == account && one.second.handle.getType() == MivoBuddy::Contact
            && !keys.contains(one.first.second))
            gone.append(one.first);
    }
    for (const EntryKey& key : qAsConst(gone))
        remove(key);
}

void Contacts::removeAll(const MivoAccountConnection* account)
{
    QList<EntryKey> gone;
    for (const auto& one : known) {
        if (one.second.account == account)
            gone.append(one.first);
    }
    for (const EntryKey& key : qAsConst(gone))
        remove(key);
}

void Contacts::add(const EntryKey& key, const Entry& added)
{
    known.emplace(key, added);
    if (added.handle.getType() == MivoBuddy::Contact) {
        persons[key.second].contacts.append(key);
        place(key.second);
    } else {
        group(added.group).addBuddy(added.handle);
        noteListChange();
    }
}

void Contacts::remove(const EntryKey& key)
{
    const Entry removed = known.at(key);
    known.erase(key);
    if (MivoBuddyContact contact = removed.handle; contact.isValid()) {
        persons[key.second].contacts.removeAll(key);
        place(key.second);
        // Whoever still holds it must not see it online for ever.
        contact.setResources({});
        contact.setPresence(MivoPresence(type.presence("offline"), QString()));
    } else {
        group(removed.group).removeBuddy(removed.handle);
        noteListChange();
    }
}

/** Shows the contacts of one address as one entry in the group of the first. */
void Contacts::place(const QString& personKey)
{
    Person& person = persons[personKey];
    QList<MivoBuddyContact> contacts;
    int unread = 0;
    for (const EntryKey& key : qAsConst(person.contacts)) {
        contacts.append(MivoBuddyContact(known.at(key).handle));
        unread += contacts.last().unreadMessages();
    }
    MivoBuddy shown = contacts.value(0);
    if (contacts.size() > 1) {
        const QString display = contacts.first().getDisplay();
        if (MivoBuddy(person.merged).getDisplay() == display)
            person.merged.setContacts(contacts);
        else
            person.merged = MivoBuddyMerged(display, contacts);
        person.merged.setUnreadMessages(unread);
        shown = person.merged;
    }
    const GroupKey key
        = person.contacts.isEmpty() ? GroupKey() : known.at(person.contacts.first()).group;
    if (person.shown == shown && person.group == key)
        return;
    if (person.shown.isValid())
        group(person.group).removeBuddy(person.shown);
    if (shown.isValid())
        group(key).addBuddy(shown);
    person.shown = shown;
    person.group = key;
    if (!shown.isValid())
        persons.erase(personKey);
    noteListChange();
}

void Contacts::setAvailable(MivoAccountConnection* account, const Jid& address,
                            const ClientPresence& presence)
{
    Entry* const changedEntry = entry(account, address);
    if (!changedEntry)
        return;
    changedEntry->clients.insert(address.resource(), presence);
    changedEntry->newest = address.resource();
    showPresence(*changedEntry);
}

void Contacts::setUnavailable(MivoAccountConnection* account, const Jid& address,
                              const QString& text)
{
    Entry* const changedEntry = entry(account, address);
    if (!changedEntry || changedEntry->clients.isEmpty())
        return;
    if (address.resource().isEmpty())
        changedEntry->clients.clear();
    else
        changedEntry->clients.remove(address.resource());
    changedEntry->goneText = text;
    showPresence(*changedEntry);
}

void Contacts::setOffline(MivoAccountConnection* account)
{
    for (auto& one : known) {
        if (one.second.account == account && !one.second.clients.isEmpty()) {
            one.second.clients.clear();
            one.second.goneText.clear();
            showPresence(one.second);
        }
    }
}

void Contacts::setPicture(MivoAccountConnection* account, const Jid& address,
                          const QByteArray& bytes)
{
    Entry* const changedEntry = entry(account, address);
    MivoBuddyContactPrivate* const record
        = changedEntry ? MivoBuddyContactPrivate::get(changedEntry->handle) : nullptr;
    if (!record)
        return;
    QByteArray picture = bytes;
    // A field of its own: the bytes of the contact type's field are those of all its copies.
    record->extraInfo.insert("picture", MivoField("picture", picture, QString()));
    noteChange(*changedEntry);
}

void Contacts::setAsking(MivoAccountConnection* account, const Jid& address, bool isAsking)
{
    Entry* const changedEntry = entry(account, address);
    if (!changedEntry)
        return;
    MivoBuddyContact contact = changedEntry->handle;
    QHash<QString, MivoArg> attributes = contact.getAttribs();
    attributes.remove("asks");
    if (isAsking)
        attributes.insert("asks", MivoArg(true));
    contact.setAttribs(attributes);
    noteChange(*changedEntry);
}

void Contacts::setUnread(MivoAccountConnection* account, const Jid& address, int count)
{
    Entry* const changedEntry = entry(account, address);
    if (!changedEntry || changedEntry->handle.unreadMessages() == count)
        return;
    changedEntry->handle.setUnreadMessages(count);
    if (changedEntry->handle.getType() == MivoBuddy::Contact)
        place(keyOf(account, address).second);
    noteChange(*changedEntry);
}

/** The contact shows what its client of the highest priority says, of several the newest. */
void Contacts::showPresence(Entry& shownEntry)
{
    QList<MivoBuddyResource> resources;
    QString best;
    for (auto client = shownEntry.clients.cbegin(); client != shownEntry.clients.cend(); ++client) {
        std::unique_ptr<MivoBuddyResourceType>& made = resourceTypes[client.key()];
        if (!made)
            made.reset(new MivoBuddyResourceType(client.key(), "computer"));
        resources.append(MivoBuddyResource(made.get(), resourcePresence(*client)));
        const int priority = client->priority;
        const bool isFirst = client == shownEntry.clients.cbegin();
        if (isFirst || priority > shownEntry.clients.value(best).priority
            || (priority == shownEntry.clients.value(best).priority
                && client.key() == shownEntry.newest))
            best = client.key();
    }
    const MivoPresence presence = shownEntry.clients.isEmpty()
        ? MivoPresence(type.presence("offline"), shownEntry.goneText)
        : MivoPresence(type.presence(shownEntry.clients.value(best).status),
                       shownEntry.clients.value(best).text);
    if (MivoBuddyContact contact = shownEntry.handle; contact.isValid()) {
        contact.setResources(resources);
        contact.setPresence(presence);
    } else {
        MivoBuddyTemporary temporary(shownEntry.handle);
        temporary.setResources(resources);
        temporary.setPresence(presence);
    }
    noteChange(shownEntry);
}

/** The priority of a resource is that of its presence type: there is one for each. */
MivoPresence Contacts::resourcePresence(const ClientPresence& client)
{
    std::unique_ptr<MivoPresenceType>& made
        = resourcePresences[QPair<QString, int>(client.status, client.priority)];
    if (!made) {
        made.reset(new MivoPresenceType(*type.presence(client.status)));
        made->priority = static_cast<quint32>(client.priority);
    }
    return MivoPresence(made.get(), client.text);
}

void Contacts::noteChange(const Entry& changedEntry)
{
    changed.insert(changedEntry.handle);
    if (!teller.isActive())
        teller.start(0);
}

void Contacts::noteListChange()
{
    isListChanged = true;
    if (!teller.isActive())
        teller.start(0);
}

void Contacts::tell()
{
    const QList<MivoBuddy> told(changed.cbegin(), changed.cend());
    const bool isListTold = isListChanged;
    changed.clear();
    isListChanged = false;
    if (isListTold)
        Q_EMIT listChanged();
    if (!told.isEmpty())
        Q_EMIT entriesChanged(told);
}
