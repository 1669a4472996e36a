#include "ContactList.h"

#include <MivoBuddyContact.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyTemporary.h>
#include <MivoContactType.h>
#include <MivoSubscriptionType.h>

#include <QHash>
#include <QPair>

#include <algorithm>

namespace {

const char noGroup[] = "Without a group";
const char strangersGroup[] = "Not on the roster";

const char offlineId[] = "offline";

QString subscriptionId(const QString& state, bool isAsked)
{
    return isAsked ? state + "+ask" : state;
}

/** The contact type of a host, with all that contacts of an export can be. */
MivoBuddyType makeContactType(const QString& host)
{
    MivoContactType type(host, host);
    type.addPresence(offlineId, "Offline", 0, MivoContactType::Offline, "user-offline");
    unsigned int priority = 0;
    for (const char* state : {"none", "from", "to", "both"}) {
        type.addSubscription(
            MivoSubscriptionType(state, subscriptionId(state, false), priority++, QString()));
        type.addSubscription(MivoSubscriptionType(QString("%1, asked").arg(state),
                                                  subscriptionId(state, true), priority++,
                                                  "user-asked"));
    }
    return type.type();
}

/** Names the groups of users, and those that are made here, whose names users may have given too. */
typedef QPair<bool, QString> GroupKey; // whether it is made here, and the name

GroupKey keyOfOwn(const char* group)
{
    return {true, group};
}

/** An entry of the list before it is known how many contacts it shows. */
struct Entry
{
    GroupKey group;
    qint64 line; // of the first contact
    QList<MivoBuddyContact> contacts;
};

class ContactListMaker
{
public:
    explicit ContactListMaker(const QList<Report>& reports) { list.reports = reports; }

    void addUser(const ExportedUser& user, MivoAccountConnection* account)
    {
        const MivoBuddyType type = typeOf(user.host);
        const MivoPresence offline(MivoContactType(type).presence(offlineId), QString());
        QHash<QString, MivoBuddyContact> contacts;
        for (const RosterItem& item : user.items) {
            const QString display = item.name.trimmed().isEmpty() ? item.jid.text() : item.name;
            const MivoBuddyContact contact(
                account, item.jid.text(), display, type, offline,
                type.getSubscriptionWithId(subscriptionId(item.subscription, item.isAsked)));
            contacts.insert(item.jid.key(), contact);
            addContact(contact, item);
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
            groupOf(keyOfOwn(strangersGroup)).addBuddy(stranger);
        std::stable_sort(list.groups.begin(), list.groups.end(), groupLessThan);
        std::stable_sort(list.reports.begin(), list.reports.end(),
                         [](const Report& a, const Report& b) {
                             return a.position.line < b.position.line
                                 || (a.position.line == b.position.line
                                     && a.position.column < b.position.column);
                         });
        return list;
    }

private:
    void addContact(const MivoBuddyContact& contact, const RosterItem& item)
    {
        const GroupKey group
            = item.groups.isEmpty() ? keyOfOwn(noGroup) : GroupKey(false, item.groups.first());
        if (item.groups.size() > 1)
            report(item,
                   QString("the contact is in %1 groups: it is shown in the first of them")
                       .arg(item.groups.size()));

        const auto known = entryOf.constFind(item.jid.key());
        if (known == entryOf.constEnd()) {
            entryOf.insert(item.jid.key(), int(entries.size()));
            entries.append({group, item.position.line, {contact}});
            return;
        }
        Entry& entry = entries[*known];
        entry.contacts.append(contact);
        if (entry.group != group)
            report(item,
                   QString("the contact is in another group than that of line %1: both are shown "
                           "there")
                       .arg(entry.line));
    }

    void report(const RosterItem& item, const QString& text)
    {
        list.reports.append({item.position, text});
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

    MivoBuddyGroup groupOf(const GroupKey& key)
    {
        const auto known = groupIndex.constFind(key);
        if (known != groupIndex.constEnd())
            return list.groups.at(*known);
        groupIndex.insert(key, int(list.groups.size()));
        list.groups.append(MivoBuddyGroup(key.second));
        return list.groups.last();
    }

    ContactList list;
    QHash<QString, MivoBuddyType> types; // by host
    QList<Entry> entries;
    QHash<QString, int> entryOf; // the indices of entries, by Jid::key()
    QList<MivoBuddy> strangers;
    QHash<GroupKey, int> groupIndex; // of list.groups
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
