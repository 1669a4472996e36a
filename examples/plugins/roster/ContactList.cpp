#include "ContactList.h"

#include <MivoBuddyContact.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyTemporary.h>
#include <MivoBuddyType_p.h>
#include <MivoPresenceType.h>
#include <MivoSubscriptionType.h>

#include <QHash>

#include <algorithm>

namespace {

const char noGroup[] = "Without a group";
const char strangersGroup[] = "Not on the roster";

const char offlineId[] = "offline";

QString subscriptionId(const QString& state, bool isAsked)
{
    return isAsked ? state + "+ask" : state;
}

/** The contact type of a host; it owns the presence and subscription types. */
MivoBuddyType makeContactType(const QString& host)
{
    const MivoBuddyType type(host, host);
    MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(type);

    auto* const offline = new MivoPresenceType;
    offline->id = offlineId;
    offline->display = "Offline";
    offline->icon = "user-offline";
    offline->flag = MivoPresence::Offline;
    record->presences.insert(offline->id, offline);
    record->presenceList.append(offline);

    unsigned int priority = 0;
    for (const char* state : {"none", "from", "to", "both"}) {
        record->subscriptions.append(
            new MivoSubscriptionType(state, subscriptionId(state, false), priority++, QString()));
        record->subscriptions.append(new MivoSubscriptionType(QString("%1, asked").arg(state),
                                                              subscriptionId(state, true),
                                                              priority++, QString("user-asked")));
    }
    return type;
}

/** An entry of the list before it is known how many contacts it shows. */
struct Entry
{
    QString group;
    QList<MivoBuddyContact> contacts;
};

class ContactListMaker
{
public:
    explicit ContactListMaker(const QList<Report>& reports) { list.reports = reports; }

    void addUser(const ExportedUser& user, MivoAccountConnection* account)
    {
        const MivoBuddyType type = typeOf(user.host);
        const MivoPresence offline(MivoBuddyTypePrivate::get(type)->presences.value(offlineId),
                                   QString());
        QHash<QString, MivoBuddyContact> contacts;
        for (const RosterItem& item : user.items) {
            const QString display = item.name.trimmed().isEmpty() ? item.jid.text() : item.name;
            const MivoBuddyContact contact(
                account, item.jid.text(), display, type, offline,
                type.getSubscriptionWithId(subscriptionId(item.subscription, item.isAsked)));
            contacts.insert(item.jid.key(), contact);
            addContact(contact, item, user.jid.text());
        }
        for (const Sender& sender : user.senders) {
            MivoBuddy entry = contacts.value(sender.jid.key());
            if (!entry.isValid()) {
                entry = MivoBuddyTemporary(account, sender.jid.text(), MivoPresence(),
                                           MivoBuddyGroup());
                strangers.append(entry);
            }
            entry.setUnreadMessages(sender.messages);
        }
    }

    ContactList finish()
    {
        for (const Entry& entry : qAsConst(entries))
            groupOf(entry.group).addBuddy(shown(entry));
        for (const MivoBuddy& stranger : qAsConst(strangers))
            groupOf(strangersGroup).addBuddy(stranger);
        std::sort(list.groups.begin(), list.groups.end(), groupLessThan);
        std::stable_sort(list.reports.begin(), list.reports.end(),
                         [](const Report& a, const Report& b) { return a.line < b.line; });
        return list;
    }

private:
    void addContact(const MivoBuddyContact& contact, const RosterItem& item, const QString& user)
    {
        QStringList groups = item.groups;
        if (groups.isEmpty())
            groups.append(noGroup);

        const auto known = entryOf.constFind(item.jid.key());
        if (known == entryOf.constEnd()) {
            entryOf.insert(item.jid.key(), int(entries.size()));
            entries.append({groups.first(), {contact}});
        } else {
            entries[*known].contacts.append(contact);
        }

        const QString group = entries.at(entryOf.value(item.jid.key())).group;
        groups.removeAll(group);
        if (!groups.isEmpty())
            list.reports.append(
                {item.line,
                 QString("found %1 of %2 also in \"%3\"; expected one group: stays in \"%4\"")
                     .arg(item.jid.text(), user, groups.join("\", \""), group)});
    }

    static MivoBuddy shown(const Entry& entry)
    {
        const MivoBuddyContact& first = entry.contacts.first();
        if (entry.contacts.size() == 1)
            return first;
        MivoBuddyMerged merged(first.getDisplay(), entry.contacts);
        int unread = 0;
        for (const MivoBuddyContact& contact : entry.contacts)
            unread += contact.unreadMessages();
        merged.setUnreadMessages(unread);
        return merged;
    }

    MivoBuddyType typeOf(const QString& host)
    {
        const QString key = host.toCaseFolded();
        const auto known = types.constFind(key);
        return known != types.constEnd() ? *known : *types.insert(key, makeContactType(host));
    }

    MivoBuddyGroup groupOf(const QString& name)
    {
        const auto known = groupIndex.constFind(name);
        if (known != groupIndex.constEnd())
            return list.groups.at(*known);
        groupIndex.insert(name, int(list.groups.size()));
        list.groups.append(MivoBuddyGroup(name));
        return list.groups.last();
    }

    ContactList list;
    QHash<QString, MivoBuddyType> types; // by host
    QList<Entry> entries;
    QHash<QString, int> entryOf; // the indices of entries, by Jid::key()
    QList<MivoBuddy> strangers;
    QHash<QString, int> groupIndex; // of list.groups, by name
};

} // namespace

ContactList makeContactList(const ServerExport& data,
                            const std::function<MivoAccountConnection*(const QString&)>& accountOf)
{
    ContactListMaker maker(data.reports);
    for (const ExportedUser& user : data.users)
        maker.addUser(user, accountOf(user.jid.text()));
    return maker.finish();
}

void takeApart(const QList<MivoBuddyGroup>& groups)
{
    for (MivoBuddyGroup group : groups) {
        while (group.childCount() > 0)
            group.removeAt(group.childCount() - 1);
    }
}
