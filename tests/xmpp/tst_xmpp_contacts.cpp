#include "Messenger.h"
#include "ScriptedServer.h"

#include <MivoAccountConnection.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoContactType.h>

namespace {

const QString annAddress("ann@localhost");
const QString bobAddress("bob@localhost");

MivoArg text(const QString& value)
{
    return MivoArg(value);
}

/** The names of groups with those of their members, as the answer of "roster" has them. */
QMap<QString, QStringList> membersOf(const QList<MivoArg>& roster)
{
    QMap<QString, QStringList> members;
    for (const MivoArg& answer : roster) {
        const MivoBuddyGroup group(answer.toBuddy());
        QStringList names;
        for (int i = 0; i < group.childCount(); ++i)
            names.append(group.buddyAt(i).getDisplay());
        names.sort();
        members.insert(group.getDisplay(), names);
    }
    return members;
}

/** An account of a server that shows @p bytes after the presence. */
class ScriptedContacts
{
public:
    ScriptedContacts(const QByteArray& roster, const QByteArray& bytes)
        : server({scriptOf(roster, bytes)})
        , client(host, XMPP_PLUGIN, "watcher")
    {
        if (!host.start())
            qFatal("the host does not start");
        client.call("watchMessages", {text("message")});
        client.fill({{"1.address", annAddress},
                     {"1.host", "127.0.0.1"},
                     {"1.port", int(server.port())},
                     {"1.encrypted", false}});
        client.call("connectAccount");
        if (!eventually([this] { return client.watcher->count("received") > 0; }))
            qFatal("the server is not read");
    }
    ~ScriptedContacts() { host.shutdown(); }

    ScriptedServer server;
    MivoHost host;
    Client client;

private:
    static ScriptedServer::Script scriptOf(const QByteArray& roster, const QByteArray& bytes)
    {
        ScriptedServer::Script script;
        script.roster = roster;
        script.bytes = bytes + "<message from='mark@localhost'><body>mark</body></message>";
        return script;
    }
};

} // namespace

/** The contact list is what the servers say, of all accounts, and its entries stay the same. */
class XmppContactsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStatusIsSeenByFriends_data();
    void everyStatusIsSeenByFriends();
    void changesOfTheListAreTheServers();
    void subscriptionsAreAskedForAndAnswered();
    void everyClientIsAResourceWithItsPriority();
    void onePersonOfTwoAccountsIsOneMergedContact();
    void changesAreToldBySignals();
    void aLongListIsTakenOverInBatches();
    void picturesAreImageFields();
    void callsThatCannotBeMadeSayWhy();
};

void XmppContactsTest::everyStatusIsSeenByFriends_data()
{
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("flag");
    QTest::addColumn<QString>("icon");
    QTest::newRow("chat") << "chat" << int(MivoContactType::FreeForChat) << "user-available";
    QTest::newRow("away") << "away" << int(MivoContactType::Away) << "user-away";
    QTest::newRow("xa") << "xa" << int(MivoContactType::ExtendedAway) << "user-away-extended";
    QTest::newRow("dnd") << "dnd" << int(MivoContactType::DoNotDisturb) << "user-busy";
    QTest::newRow("online") << "online" << int(MivoContactType::Online) << "user-available";
}

void XmppContactsTest::everyStatusIsSeenByFriends()
{
    QFETCH(const QString, status);
    QFETCH(const int, flag);
    QFETCH(const QString, icon);
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    messenger.ann.call("setPresence", {text(status), text("At lunch")});
    const auto seen = [&] { return messenger.bob.contact(annAddress).at(5).toPresence(); };
    QVERIFY(eventually([&] { return seen().getDescription() == "At lunch"; }));
    QCOMPARE(seen().getId(), status);
    QCOMPARE(int(seen().getFlag()), flag);
    QCOMPARE(seen().getIcon(), icon);
    messenger.ann.call("disconnectAccount");
    QVERIFY(eventually([&] { return int(seen().getFlag()) == MivoContactType::Offline; }));
    // What was chosen holds for the next connection too.
    messenger.ann.call("connectAccount");
    QVERIFY(eventually([&] { return seen().getId() == status; }));
}

void XmppContactsTest::changesOfTheListAreTheServers()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    const MivoBuddy bob = ann.entry(bobAddress);
    const MivoArg bobArg(bob);
    QCOMPARE(membersOf(ann.call("roster")), (QMap<QString, QStringList>({{"Friends", {"Bob"}}})));

    ann.call("moveContact", {bobArg, text("Work")});
    QVERIFY(eventually([&] { return ann.shown() == QStringList("Work/Bob: online"); }));
    QCOMPARE(ann.entry(bobAddress), bob);
    QCOMPARE(membersOf(ann.call("roster")), (QMap<QString, QStringList>({{"Work", {"Bob"}}})));
    ann.call("moveContact", {bobArg, text("")});
    QVERIFY(eventually([&] { return ann.shown() == QStringList("/Bob: online"); }));
    QCOMPARE(membersOf(ann.call("roster")),
             (QMap<QString, QStringList>({{"Without a group", {"Bob"}}})));

    // The name of an entry never changes: there is a new one, and the old one still leads to Bob.
    ann.call("sendMessage", {bobArg, text("hello")});
    ann.call("renameContact", {bobArg, text("Robert")});
    QVERIFY(eventually([&] { return ann.shown() == QStringList("/Robert: online"); }));
    const MivoBuddy robert = ann.entry(bobAddress);
    QVERIFY(robert != bob);
    QCOMPARE(bob.getDisplay(), QString("Bob"));
    QCOMPARE(ann.call("openConversation", {bobArg}).size(), 1);
    QCOMPARE(membersOf(ann.call("roster")),
             (QMap<QString, QStringList>({{"Without a group", {"Robert"}}})));

    ann.call("removeContact", {bobArg});
    QVERIFY(eventually([&] { return ann.call("contacts").isEmpty(); }));
    QVERIFY(ann.call("roster").isEmpty());
    QCOMPARE(int(MivoBuddyContact(robert).getPresence().getFlag()), int(MivoContactType::Offline));
    QVERIFY(!MivoBuddyContact(robert).getParent().isValid());
}

void XmppContactsTest::subscriptionsAreAskedForAndAnswered()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    const auto subscription = [](const Client& client, const QString& address) {
        return client.contact(address).value(6).getType() == MivoArg::String
            ? client.contact(address).at(6).toString()
            : QString("not there");
    };
    ann.call("addContact", {text(annAddress), text(bobAddress), text(""), text("")});
    QVERIFY(eventually([&] { return subscription(ann, bobAddress) == "none"; }));
    QCOMPARE(ann.shown(), QStringList("/bob@localhost: offline")); // without a name
    ann.call("askSubscription", {text(bobAddress)});
    QVERIFY(eventually([&] { return subscription(ann, bobAddress) == "none+ask"; }));
    QVERIFY(eventually([&] { return bob.watcher->count("asks") == 1; }));
    QVERIFY(bob.contact(annAddress).at(10).toBool());
    bob.call("answerSubscription", {text(annAddress), MivoArg(true)});
    QVERIFY(eventually([&] { return subscription(ann, bobAddress) == "to"; }));
    QVERIFY(eventually([&] { return subscription(bob, annAddress) == "from"; }));
    QVERIFY(!bob.contact(annAddress).at(10).toBool());
    QVERIFY(eventually([&] { return ann.shown() == QStringList("/bob@localhost: online"); }));
    bob.call("answerSubscription", {text(annAddress), MivoArg(false)});
    QVERIFY(eventually([&] { return subscription(ann, bobAddress) == "none"; }));
    QVERIFY(eventually([&] { return ann.shown() == QStringList("/bob@localhost: offline"); }));
}

void XmppContactsTest::everyClientIsAResourceWithItsPriority()
{
    const ScriptedContacts scripted(
        "<item jid='bob@localhost' name='Bob' subscription='both'/>",
        "<presence from='bob@localhost/desk'><priority>5</priority><status>here</status></presence>"
        "<presence from='bob@localhost/phone'><show>away</show><priority>7</priority></presence>"
        "<presence from='bob@localhost/bot'><priority>-1</priority></presence>"
        "<presence from='bob@localhost/gone'/>"
        "<presence from='bob@localhost/gone' type='unavailable'/>");
    QMap<QString, QString> clients;
    for (const MivoArg& one : scripted.client.contact(bobAddress).at(9).toArgList()) {
        const QList<MivoArg> values = one.toArgList();
        clients.insert(
            values.at(0).toString(),
            QString("%1 %2").arg(values.at(1).toInt()).arg(values.at(2).toPresence().getId()));
    }
    QCOMPARE(clients,
             (QMap<QString, QString>(
                 {{"bot", "-1 online"}, {"desk", "5 online"}, {"phone", "7 away"}})));
    QCOMPARE(scripted.client.shown().filter("Bob"), QStringList("/Bob: away"));
    const MivoBuddyContact bob(scripted.client.entry(bobAddress));
    QCOMPARE(bob.getActiveResource().getName(), QString("phone"));
    QCOMPARE(bob.getPresenceIcon(), QString("user-away"));
    QCOMPARE(bob.getTypeId(), QString("xmpp"));
}

void XmppContactsTest::onePersonOfTwoAccountsIsOneMergedContact()
{
    ProsodyServer server(MIVO_PROSODY);
    server.addUser("carol", "carol-secret");
    server.writeRoster("ann", {{"carol@localhost", "Carol"}});
    server.writeRoster("bob", {{"CAROL@localhost", "My Carol"}, {"dave@localhost", "Dave"}});
    startWithAccounts(server);
    MivoHost host;
    Client client(host, XMPP_PLUGIN, "watcher");
    QVERIFY(host.start());
    client.call("watchMessages", {text("message")});
    client.enter(server, "ann", 1);
    client.enter(server, "bob", 2);
    client.call("connectAccount", {text(annAddress)});
    QVERIFY(client.becomes("online", 0));
    const MivoBuddy first = client.entry("carol@localhost");
    QCOMPARE(first.getType(), MivoBuddy::Contact);
    client.call("connectAccount", {text(bobAddress)});
    QVERIFY(client.becomes("online", 1));
    QCOMPARE(membersOf(client.call("roster")),
             (QMap<QString, QStringList>({{"Without a group", {"Carol", "Dave"}}})));
    MivoBuddyMerged merged;
    const MivoBuddyGroup group(client.call("roster").first().toBuddy());
    for (int i = 0; i < group.childCount(); ++i) {
        if (MivoBuddyMerged(group.buddyAt(i)).isValid())
            merged = group.buddyAt(i);
    }
    QVERIFY(merged.isValid());
    QVERIFY(merged.containsContact(first)); // the same entry as before
    QCOMPARE(merged.getAccounts().size(), 2);
    QCOMPARE(merged.getAccounts().at(1)->id(), bobAddress);

    // A message to the merged contact goes through the account that is connected.
    client.call("disconnectAccount", {text(annAddress)});
    QVERIFY(client.becomes("offline", 0));
    client.call("sendMessage", {MivoArg(MivoBuddy(merged)), text("hello")});
    QVERIFY(eventually([&] { return client.watcher->count("taken") == 1; }));
    QCOMPARE(client.watcher->all("taken").first().from, bobAddress);

    // Without the one account, the contact of the other is there alone again.
    client.fill({{"1.address", ""}});
    QCOMPARE(membersOf(client.call("roster")),
             (QMap<QString, QStringList>({{"Without a group", {"Dave", "My Carol"}}})));
    QVERIFY(host.shutdown());
}

void XmppContactsTest::changesAreToldBySignals()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    QAtomicInt lists;
    QAtomicInt entries;
    QAtomicInt forms;
    QAtomicInt strayEntries;
    connect(
        ann.plugin, &MivoPlugin::contactListChanged, ann.plugin, [&] { lists.ref(); },
        Qt::DirectConnection);
    connect(
        ann.plugin, &MivoPlugin::formChanged, ann.plugin, [&] { forms.ref(); },
        Qt::DirectConnection);
    connect(
        ann.plugin, &MivoPlugin::entriesChanged, ann.plugin,
        [&](const QList<MivoBuddy>& changed) {
            entries.ref();
            for (const MivoBuddy& entry : changed)
                strayEntries.fetchAndAddRelaxed(MivoBuddyContact(entry).getId() != bobAddress
                                                && MivoBuddyTemporary(entry).getId() != bobAddress);
        },
        Qt::DirectConnection);
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(forms.loadAcquire() >= 2); // connecting, connected
    QVERIFY(messenger.befriend());
    QVERIFY(eventually([&] { return lists.loadAcquire() > 0 && entries.loadAcquire() > 0; }));
    const int before = entries.loadAcquire();
    messenger.bob.call("setPresence", {text("away"), text("")});
    QVERIFY(eventually([&] { return entries.loadAcquire() > before; }));
    messenger.bob.call("sendMessage", {text(annAddress), text("unread")});
    QVERIFY(eventually([&] { return entries.loadAcquire() > before + 1; }));
    QCOMPARE(strayEntries.loadAcquire(), 0);
}

void XmppContactsTest::aLongListIsTakenOverInBatches()
{
    const int count = 5000;
    QList<QPair<QString, QString>> items;
    for (int i = 0; i < count; ++i)
        items.append({QString("contact%1@example.org").arg(i), QString("Contact %1").arg(i)});
    ProsodyServer server(MIVO_PROSODY);
    server.writeRoster("ann", items);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    // Written in the plug-in's thread alone: L for a batch, S for an event that was served.
    QByteArray order;
    QObject* const context = ann.plugin;
    connect(
        ann.plugin, &MivoPlugin::contactListChanged, context,
        [&order, context] {
            order += 'L';
            QMetaObject::invokeMethod(
                context, [&order] { order += 'S'; }, Qt::QueuedConnection);
        },
        Qt::DirectConnection);
    ann.enter(server, "ann");
    ann.call("connectAccount");
    QVERIFY(ann.becomes("online"));
    QCOMPARE(ann.call("contacts").size(), count);
    const MivoBuddyGroup group(ann.call("roster").first().toBuddy());
    QCOMPARE(group.childCount(), count);
    QVERIFY(messenger.host.shutdown());
    QVERIFY2(order.count("LS") >= 10, order.constData());
}

void XmppContactsTest::picturesAreImageFields()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    QCOMPARE(ann.contact(bobAddress).at(8).getType(), MivoArg::None);
    const QByteArray bytes = QByteArray("\x89PNG\r\n\x1a\n\0\0", 10) + "picture";
    QTemporaryDir folder;
    QFile file(folder.filePath("picture.png"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    bob.call("setPicture", {text(bobAddress), text(file.fileName())});
    QVERIFY(eventually([&] { return ann.contact(bobAddress).at(8).getType() == MivoArg::Field; }));
    MivoField picture = ann.contact(bobAddress).at(8).toField();
    QCOMPARE(picture.getImgData(), bytes);
    // Nobody else has got it.
    ann.call("addContact", {text(annAddress), text("carol@localhost"), text("Carol"), text("")});
    QVERIFY(eventually([&] { return !ann.contact("carol@localhost").isEmpty(); }));
    QCOMPARE(ann.contact("carol@localhost").at(8).getType(), MivoArg::None);
}

void XmppContactsTest::callsThatCannotBeMadeSayWhy()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(ann.failureOf("roster", {text("x")}).contains("found 1 arguments; expected 0"));
    QVERIFY(
        ann.failureOf("setPresence", {text("asleep"), text("")})
            .contains("found the status \"asleep\"; expected one of online, chat, away, xa, dnd"));
    QVERIFY(ann.failureOf("renameContact", {text("carol@localhost"), text("x")})
                .contains("carol@localhost is not on the contact list of ann@localhost"));
    QVERIFY(ann.failureOf("removeContact", {text("carol@localhost")})
                .contains("is not on the contact list"));
    QVERIFY(ann.failureOf("moveContact", {MivoArg(MivoBuddy(MivoBuddyGroup("x"))), text("")})
                .contains("found an entry that is nobody"));
    QVERIFY(ann.failureOf("moveContact", {MivoArg(1), text("")}).contains("MivoArg::Int"));
    QVERIFY(ann.failureOf("addContact", {text("x@y"), text("a@b"), text(""), text("")})
                .contains("found the account \"x@y\"; expected one that has been entered"));
    QVERIFY(ann.failureOf("addContact", {text(annAddress), text("a b"), text(""), text("")})
                .contains("expected an address such as ann@example.org"));
    // An action tells the log.
    const LoggedLines log;
    messenger.host.action(ann.plugin, "removeContact", {text("carol@localhost")})();
    QVERIFY(eventually([&] {
        return log.count("xmpp: removeContact failed: carol@localhost is not on the contact list")
            == 1;
    }));
}

QTEST_GUILESS_MAIN(XmppContactsTest)
#include "tst_xmpp_contacts.moc"
