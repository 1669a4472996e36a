#include "Commands.h"
#include "Console.h"
#include "DisplayText.h"
#include "Files.h"
#include "JsonText.h"
#include "Session.h"

#include <MivoAccountConnection.h>
#include <MivoBuddyContact.h>
#include <MivoBuddyGroup.h>
#include <MivoBuddyMerged_p.h>
#include <MivoBuddyMeta.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoBuddyType.h>
#include <MivoPlugin.h>
#include <MivoSubscriptionType.h>

namespace {

QString counted(int count, const char* one, const char* several)
{
    return QString("%1 %2").arg(count).arg(count == 1 ? one : several);
}

QString textOf(const MivoPresence& presence)
{
    if (!presence.isValid())
        return "no presence";
    const QString text = "presence " + quotedOneLine(presence.getDisplay());
    return presence.getDescription().isEmpty()
        ? text
        : text + ": " + quotedOneLine(presence.getDescription());
}

/** Which resource is active is a question that only contacts answer. */
MivoBuddyResource activeOf(const QList<MivoBuddyResource>& resources)
{
    MivoBuddyContact contact(nullptr, QString(), QString(), MivoBuddyType(), MivoPresence(),
                             MivoSubscriptionType(QString(), QString(), 0, QString()));
    contact.setResources(resources);
    return contact.getActiveResource();
}

/** Writes a contact list: a line for each entry, below it those that it holds, farther right. */
class RosterTree
{
public:
    explicit RosterTree(const std::function<QString(const MivoBuddy&)>& usedMarkOf)
        : markOf(usedMarkOf)
    {
    }

    void show(const MivoBuddy& entry)
    {
        switch (entry.getType()) {
        case MivoBuddy::Group:
            showGroup(entry);
            return;
        case MivoBuddy::Meta:
            showMeta(entry);
            return;
        case MivoBuddy::Contact:
            showContact(entry);
            return;
        case MivoBuddy::Merged:
            showMerged(entry);
            return;
        case MivoBuddy::Temporary:
            showTemporary(entry);
            return;
        case MivoBuddy::Invalid:
            writeLine("invalid entry");
            return;
        case MivoBuddy::Other:
            break;
        }
        write("other entry", entry, QStringList());
    }

private:
    void showGroup(const MivoBuddyGroup& group)
    {
        write("group", group,
              {counted(group.childCount(), "entry", "entries"),
               QString("%1 online").arg(group.onlineChildCount())});
        showMembers(group);
    }

    void showMeta(const MivoBuddyMeta& meta)
    {
        write("meta-contact", meta, {counted(meta.childCount(), "entry", "entries")});
        showMembers(meta);
    }

    void showContact(const MivoBuddyContact& contact)
    {
        QStringList details = detailsOf(contact.getId(), contact.getPresence(),
                                        contact.getActiveResource(), contact.getAccount());
        if (!contact.getTypeId().isEmpty())
            details.append("type " + quotedOneLine(contact.getTypeId()));
        const MivoSubscriptionType subscription = contact.getSubscription();
        if (subscription.isValid())
            details.append("subscription " + quotedOneLine(subscription.getDisplay()));
        write("contact", contact, details);
    }

    void showMerged(const MivoBuddyMerged& merged)
    {
        // By the record: looking for the contact of each account takes a search each, and finds
        // only the first of several.
        const MivoBuddyMergedPrivate* const record = MivoBuddyMergedPrivate::get(merged);
        const QList<MivoBuddyContact> contacts
            = record ? record->contacts : QList<MivoBuddyContact>();
        QStringList details = detailsOf(merged.getId(), merged.getPresence(),
                                        activeOf(merged.getResources()), nullptr);
        details.prepend(counted(int(contacts.size()), "contact", "contacts"));
        write("merged contact", merged, details);

        ++depth;
        for (const MivoBuddyContact& contact : contacts)
            show(contact);
        --depth;
    }

    void showTemporary(const MivoBuddyTemporary& temporary)
    {
        write("temporary contact", temporary,
              detailsOf(QString(), temporary.getPresence(), activeOf(temporary.getResources()),
                        temporary.getAccount()));
    }

    template <class Container>
    void showMembers(const Container& container)
    {
        // Through the records, a plug-in can make a container hold itself.
        if (above.contains(container)) {
            ++depth;
            writeLine("as above");
            --depth;
            return;
        }
        above.append(container);
        ++depth;
        const QList<MivoBuddy> members = container.buddies();
        for (const MivoBuddy& member : members)
            show(member);
        --depth;
        above.removeLast();
    }

    static QStringList detailsOf(const QString& id, const MivoPresence& presence,
                                 const MivoBuddyResource& active,
                                 const MivoAccountConnection* account)
    {
        QStringList details;
        if (!id.isEmpty())
            details.append("id " + quotedOneLine(id));
        details.append(textOf(presence));
        if (active.isValid())
            details.append(
                QString("active resource %1 of priority %2")
                    .arg(quotedOneLine(active.getName()), QString::number(active.getPriority())));
        if (account)
            details.append("account " + quotedOneLine(account->id()));
        return details;
    }

    void write(const char* kind, const MivoBuddy& entry, QStringList details) const
    {
        if (entry.unreadMessages() != 0)
            details.append(QString("%1 unread").arg(entry.unreadMessages()));
        QString line = markOf(entry) + kind + ' ' + quotedOneLine(entry.getDisplay());
        if (!details.isEmpty())
            line += ": " + details.join(", ");
        writeLine(line);
    }

    void writeLine(const QString& line) const
    {
        Console::out(QString("  ").repeated(depth) + line);
    }

    const std::function<QString(const MivoBuddy&)>& markOf;
    int depth = 0;
    QList<MivoBuddy> above; // the containers around the entry that is being shown
};

/** A contact list in JSON; each entry has those that it holds in it. */
class RosterJson
{
public:
    explicit RosterJson(const MivoHost& describedHost)
        : host(describedHost)
    {
    }

    QJsonObject entryOf(const MivoBuddy& entry)
    {
        QJsonObject object = valueOf(MivoArg(entry));
        object.insert("unread", entry.unreadMessages());
        switch (entry.getType()) {
        case MivoBuddy::Group:
            object.insert("online", MivoBuddyGroup(entry).onlineChildCount());
            insertMembers(object, MivoBuddyGroup(entry));
            break;
        case MivoBuddy::Meta:
            insertMembers(object, MivoBuddyMeta(entry));
            break;
        case MivoBuddy::Contact: {
            const MivoBuddyContact contact(entry);
            insertState(object, contact.getPresence(), contact.getResources(),
                        contact.getAccount());
            object.insert("contactType", contact.getTypeId());
            object.insert("subscription", contact.getSubscription().getId());
            break;
        }
        case MivoBuddy::Temporary: {
            const MivoBuddyTemporary temporary(entry);
            insertState(object, temporary.getPresence(), temporary.getResources(),
                        temporary.getAccount());
            break;
        }
        case MivoBuddy::Merged: {
            QJsonArray contacts;
            if (const MivoBuddyMergedPrivate* const record = MivoBuddyMergedPrivate::get(entry)) {
                for (const MivoBuddyContact& contact : qAsConst(record->contacts))
                    contacts.append(entryOf(contact));
            }
            object.insert("entries", contacts);
            break;
        }
        default:
            break;
        }
        return object;
    }

private:
    QJsonObject valueOf(const MivoArg& value) const { return JsonText::valueOf(value, host); }

    void insertState(QJsonObject& object, const MivoPresence& presence,
                     const QList<MivoBuddyResource>& resources,
                     const MivoAccountConnection* account) const
    {
        QJsonArray described;
        for (const MivoBuddyResource& resource : resources)
            described.append(valueOf(MivoArg(resource)));
        object.insert("presence", valueOf(MivoArg(presence)));
        object.insert("resources", described);
        object.insert("account", account ? QJsonValue(account->id()) : QJsonValue());
    }

    template <class Container>
    void insertMembers(QJsonObject& object, const Container& container)
    {
        // Through the records, a plug-in can make a container hold itself.
        if (above.contains(container)) {
            object.insert("isAbove", true);
            return;
        }
        above.append(container);
        QJsonArray entries;
        const QList<MivoBuddy> members = container.buddies();
        for (const MivoBuddy& member : members)
            entries.append(entryOf(member));
        above.removeLast();
        object.insert("entries", entries);
    }

    const MivoHost& host;
    QList<MivoBuddy> above; // the containers around the entry that is being described
};

} // namespace

void showRoster(const QList<MivoArg>& entries,
                const std::function<QString(const MivoBuddy&)>& markOf)
{
    if (entries.isEmpty())
        Console::out("no entries");
    RosterTree tree(markOf);
    for (const MivoArg& entry : entries)
        tree.show(entry.toBuddy());
}

void runRoster(const Arguments& arguments)
{
    const Files::Utf8Name exportName(arguments.operands.value(1));
    QList<MivoArg> values;
    if (arguments.operands.size() == 2)
        values.append(MivoArg(exportName.name()));

    Session session(outputOf(arguments));
    MivoPlugin* const plugin = loadPlugins(session, arguments);
    session.start();
    QList<MivoArg> entries;
    QStringList reports;
    try {
        entries = session.call(plugin, "roster", values);
        if (plugin->callSlots().contains("reports"))
            reports = session.call(plugin, "reports", {}).value(0).toStringList();
    } catch (const Failure& error) {
        throw Failure(exportName.withOwnName(error.message()));
    }

    for (const MivoArg& entry : qAsConst(entries))
        entry.toBuddy(); // throws before anything is shown
    if (arguments.has(jsonOption.name)) {
        QJsonArray described;
        RosterJson json(session.host);
        for (const MivoArg& entry : qAsConst(entries))
            described.append(json.entryOf(entry.toBuddy()));
        for (QString& report : reports)
            report = exportName.withOwnName(report);
        Console::out(JsonText::textOf(QJsonObject(
            {{"entries", described}, {"reports", QJsonArray::fromStringList(reports)}})));
        return;
    }
    showRoster(entries, [](const MivoBuddy&) { return QString(); });
    for (const QString& report : qAsConst(reports))
        Console::error("mivo-host roster: " + exportName.withOwnName(report));
}
