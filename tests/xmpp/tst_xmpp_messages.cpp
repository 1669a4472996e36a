#include "Messenger.h"
#include "Relay.h"

namespace {

const QString annAddress("ann@localhost");
const QString bobAddress("bob@localhost");

MivoArg text(const QString& value)
{
    return MivoArg(value);
}

/** Words of many scripts, and what programs like to break. */
const QStringList& pieces()
{
    static const QStringList all({
        "plain",
        "Grüße, façade, Ærø",
        "Καλημέρα κόσμε",
        "Привет, мир",
        "שלום עולם",
        "مرحبا بالعالم",
        "नमस्ते दुनिया",
        "สวัสดีชาวโลก",
        "안녕하세요 세계",
        "你好，世界",
        "こんにちは世界",
        "e\u0301 a\u0308 combined",
        "\U0001F600\U0001F680",
        "\U0001F468\u200D\U0001F469\u200D\U0001F467",
        "\U0001F3F4\U000E0067\U000E0062\U000E007F",
        "\U00010348\U0002070E",
        "<b>&amp;</b> ]]> \"'",
        "line\nline\n\nline\n",
        " blank at both ends ",
        "\ttab",
        "\uFDD0\uFFFD",
    });
    return all;
}

/** The text of message @p number of @p sender: another for each, some of them very long. */
QString textOf(const QString& sender, int number)
{
    const QString text = QString("%1 %2 %3")
                             .arg(sender)
                             .arg(number)
                             .arg(pieces().at(number % int(pieces().size())));
    if (number % 1000 != 500)
        return text;
    QString longText = text;
    while (longText.size() < 60000)
        longText += QChar(ushort(0x4E00 + (int(longText.size()) + number) % 20000));
    return longText;
}

} // namespace

/** Messages arrive once, in order and unchanged, whatever happens to the connections. */
class XmppMessagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMessageGoesThereAndBack();
    void unreadMessagesAreCountedUntilTheyAreRead();
    void messagesToNobodyComeBackAsFailed();
    void tenThousandMessagesEachWayArriveOnceAndInOrder();
    void theServerMayBeKilledAndComeBack();
    void aConnectionThatIsSilentlyDeadLosesNothing_data();
    void aConnectionThatIsSilentlyDeadLosesNothing();
    void whatIsSentWithoutAConnectionIsSentLater();
    void theHostEndsWhileMessagesAreBeingSent();
    void aMessageThatTheServerDoesNotBearIsReportedAndTheOthersArrive();
};

void XmppMessagesTest::aMessageGoesThereAndBack()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const QString id = ann.call("sendMessage", {MivoArg(ann.entry(bobAddress)), text("Hello Bob")})
                           .at(0)
                           .toString();
    QVERIFY(eventually([&] { return ann.watcher->count("taken") == 1; }));
    QVERIFY(eventually([&] { return bob.watcher->count("received") == 1; }));
    const Told queued = ann.watcher->all("queued").first();
    QCOMPARE(queued.entry, ann.entry(bobAddress));
    QCOMPARE(queued.id, id);
    QCOMPARE(queued.text, QString("Hello Bob"));
    QCOMPARE(queued.from, annAddress);
    const Told taken = ann.watcher->all("taken").first();
    QCOMPARE(taken.id, id);
    QCOMPARE(taken.text, QString("Hello Bob"));
    const Told received = bob.watcher->all("received").first();
    QCOMPARE(received.entry, bob.entry(annAddress));
    QCOMPARE(received.id, id);
    QCOMPARE(received.text, QString("Hello Bob"));
    QCOMPARE(received.from, QString("ann@localhost/test"));
    QVERIFY(received.time >= before && received.time <= QDateTime::currentMSecsSinceEpoch());

    bob.call("sendMessage", {MivoArg(received.entry), text("Hello Ann")});
    QVERIFY(eventually([&] { return ann.watcher->count("received") == 1; }));
    QVERIFY(eventually([&] { return bob.watcher->count("taken") == 1; }));
    const QList<MivoArg> said = bob.call("openConversation", {text(annAddress)});
    QCOMPARE(said.size(), 2);
    QCOMPARE(said.at(0).toArgList().at(0).toString(), QString("received"));
    QCOMPARE(said.at(0).toArgList().at(2).toString(), QString("Hello Bob"));
    QCOMPARE(said.at(1).toArgList().at(0).toString(), QString("taken"));
    QCOMPARE(said.at(1).toArgList().at(2).toString(), QString("Hello Ann"));
    QCOMPARE(said.at(1).toArgList().at(4).toString(), bobAddress);

    // Who does not watch any more is told nothing.
    bob.call("unwatchMessages");
    ann.call("sendMessage", {text(bobAddress), text("unseen")});
    QVERIFY(eventually([&] { return bob.contact(annAddress).at(7).toInt() == 2; }));
    QCOMPARE(bob.watcher->count("received"), 1);
    QVERIFY(ann.failureOf("sendMessage", {text(bobAddress), text("")})
                .contains("found an empty message"));
    QVERIFY(ann.failureOf("sendMessage", {text("@"), text("x")}).contains("expected an address"));
    QVERIFY(ann.failureOf("watchMessages", {text("no slot")}).contains("no slot"));
}

void XmppMessagesTest::unreadMessagesAreCountedUntilTheyAreRead()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    // Bob is not on ann's list: he becomes a temporary contact.
    for (int i = 0; i < 3; ++i)
        bob.call("sendMessage", {text(annAddress), text(QString("message %1").arg(i))});
    QVERIFY(eventually([&] { return ann.watcher->count("received") == 3; }));
    const MivoBuddy stranger = ann.entry(bobAddress);
    QCOMPARE(stranger.getType(), MivoBuddy::Temporary);
    QCOMPARE(ann.contact(bobAddress).at(7).toInt(), 3);
    const QList<MivoArg> groups = ann.call("roster");
    QCOMPARE(groups.size(), 1);
    QCOMPARE(groups.first().toBuddy().getDisplay(), QString("Not on the roster"));
    QCOMPARE(ann.call("openConversation", {MivoArg(stranger)}).size(), 3);
    ann.call("markRead", {MivoArg(stranger)});
    QCOMPARE(ann.contact(bobAddress).at(7).toInt(), 0);
    // Taken onto the list, he is a contact; what he has said stays.
    ann.call("addContact", {text(annAddress), text(bobAddress), text("Bob"), text("")});
    QVERIFY(eventually([&] { return ann.entry(bobAddress).getType() == MivoBuddy::Contact; }));
    QCOMPARE(ann.call("openConversation", {MivoArg(ann.entry(bobAddress))}).size(), 3);
    QCOMPARE(ann.call("openConversation", {MivoArg(stranger)}).size(),
             3); // the old handle still leads there
    QCOMPARE(ann.call("roster").size(), 1);
}

void XmppMessagesTest::messagesToNobodyComeBackAsFailed()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    const LoggedLines log;
    Messenger messenger;
    messenger.start();
    QVERIFY(messenger.connectBoth(server));
    messenger.ann.call("sendMessage", {text("nobody@localhost"), text("Hello?")});
    QVERIFY(eventually([&] { return messenger.ann.watcher->count("failed") == 1; }));
    const Told failed = messenger.ann.watcher->all("failed").first();
    QCOMPARE(failed.text, QString("Hello?"));
    QVERIFY2(failed.reason.startsWith("It was not delivered: "), qPrintable(failed.reason));
    QCOMPARE(log.count("a message to nobody@localhost: It was not delivered"), 1);
    QCOMPARE(log.count("Hello?"), 0);
}

void XmppMessagesTest::tenThousandMessagesEachWayArriveOnceAndInOrder()
{
    const int count = 10000;
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    const MivoBuddy bobEntry = ann.entry(bobAddress);
    const MivoBuddy annEntry = bob.entry(annAddress);
    for (int i = 0; i < count; ++i) {
        ann.call("sendMessage", {MivoArg(bobEntry), text(textOf("ann", i))});
        bob.call("sendMessage", {MivoArg(annEntry), text(textOf("bob", i))});
        if (i % 500 == 0)
            ann.call("moveContact", {MivoArg(bobEntry), text(QString("Group %1").arg(i % 3))});
    }
    const auto allHave = [&](const char* event) {
        return ann.watcher->count(event) >= count && bob.watcher->count(event) >= count;
    };
    QVERIFY(eventually([&] { return allHave("received") && allHave("taken"); }));
    for (const Client* const reader : {&ann, &bob}) {
        const QString writer = reader == &ann ? "bob" : "ann";
        const QList<Told> received = reader->watcher->all("received");
        QCOMPARE(received.size(), count);
        for (int i = 0; i < count; ++i) {
            if (received.at(i).text != textOf(writer, i)) // QCOMPARE would print 60,000 characters
                QFAIL(qPrintable(QString("message %1 of %2 is another").arg(i).arg(writer)));
        }
        QCOMPARE(reader->watcher->count("taken"), count);
        QCOMPARE(reader->watcher->count("failed"), 0);
        QCOMPARE(reader->call("contacts").first().toArgList().at(7).toInt(), count);
    }
    QCOMPARE(ann.entry(bobAddress), bobEntry); // moved, and the same entry
}

void XmppMessagesTest::theServerMayBeKilledAndComeBack()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    const MivoBuddy bobEntry = ann.entry(bobAddress);
    const QList<MivoArg> groups = ann.call("roster");

    server.kill();
    QVERIFY(ann.becomes("waiting"));
    QVERIFY2(ann.stateText().startsWith("The "), qPrintable(ann.stateText()));
    QCOMPARE(ann.shown(), QStringList("Friends/Bob: offline"));
    QVERIFY(ann.contact(bobAddress).at(9).toArgList().isEmpty());
    const QString id
        = ann.call("sendMessage", {MivoArg(bobEntry), text("meanwhile")}).at(0).toString();
    QCOMPARE(server.start(), QString());
    // By itself, without being asked.
    QVERIFY(ann.becomes("online"));
    QVERIFY(bob.becomes("online"));
    QVERIFY(eventually([&] { return ann.shown() == QStringList("Friends/Bob: online"); }));
    QCOMPARE(ann.entry(bobAddress), bobEntry);
    QVERIFY(ann.call("roster").first().toBuddy() == groups.first().toBuddy());
    QVERIFY(eventually([&] { return bob.watcher->count("received") == 1; }));
    QVERIFY(eventually([&] { return ann.watcher->count("taken") == 1; }));
    QCOMPARE(bob.watcher->all("received").first().id, id);
    QCOMPARE(bob.watcher->all("received").first().text, QString("meanwhile"));
    // Once: what comes behind it is the next.
    ann.call("sendMessage", {MivoArg(bobEntry), text("afterwards")});
    QVERIFY(eventually([&] { return bob.watcher->count("received") == 2; }));
    QCOMPARE(bob.watcher->all("received").last().text, QString("afterwards"));
}

void XmppMessagesTest::aConnectionThatIsSilentlyDeadLosesNothing_data()
{
    QTest::addColumn<bool>("isTheReaders");
    QTest::addColumn<bool>("isTold");
    QTest::newRow("the writer's, silent") << false << false;
    QTest::newRow("the reader's, silent") << true << false;
    QTest::newRow("the writer's, told") << false << true;
    QTest::newRow("the reader's, told") << true << true;
}

void XmppMessagesTest::aConnectionThatIsSilentlyDeadLosesNothing()
{
    QFETCH(const bool, isTheReaders);
    QFETCH(const bool, isTold);
    const int count = 50;
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Relay relay(server.port());
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    const QHash<QString, QVariant> broken({{"1.port", int(relay.port())}, {"1.check", 1}});
    ann.enter(server, "ann", 1, isTheReaders ? QHash<QString, QVariant>() : broken);
    bob.enter(server, "bob", 1, isTheReaders ? broken : QHash<QString, QVariant>());
    for (const Client* const client : {&ann, &bob}) {
        client->call("connectAccount");
        QVERIFY(client->becomes("online"));
    }
    QVERIFY(messenger.befriend());
    const LoggedLines log;
    const QString who = isTheReaders ? "bob@localhost" : "ann@localhost";
    for (int i = 0; i < count; ++i) {
        ann.call("sendMessage", {text(bobAddress), text(QString("message %1").arg(i))});
        if (i == count / 2) {
            if (isTold)
                relay.cut();
            else
                relay.freeze();
        }
    }
    QVERIFY(eventually([&] { return log.count(who + ": Connected as") > 0; }));
    if (!isTold)
        QVERIFY(log.count(who + ": The server does not answer any more") > 0);
    QVERIFY(eventually([&] { return ann.watcher->count("taken") == count; }));
    QVERIFY(eventually([&] { return bob.watcher->count("received") >= count; }));
    QStringList wanted;
    QStringList received;
    for (int i = 0; i < count; ++i)
        wanted.append(QString("message %1").arg(i));
    for (const Told& told : bob.watcher->all("received"))
        received.append(told.text);
    QCOMPARE(received, wanted);
    QCOMPARE(ann.watcher->count("failed"), 0);
}

void XmppMessagesTest::whatIsSentWithoutAConnectionIsSentLater()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    const LoggedLines log;
    {
        Messenger messenger;
        messenger.start();
        const Client& ann = messenger.ann;
        const Client& bob = messenger.bob;
        QVERIFY(messenger.connectBoth(server));
        ann.call("disconnectAccount");
        ann.call("sendMessage", {text(bobAddress), text("written offline")});
        QCOMPARE(
            ann.call("openConversation", {text(bobAddress)}).first().toArgList().at(0).toString(),
            QString("queued"));
        ann.call("connectAccount");
        QVERIFY(eventually([&] { return bob.watcher->count("received") == 1; }));
        QVERIFY(eventually([&] { return ann.watcher->count("taken") == 1; }));
        ann.call("disconnectAccount");
        ann.call("sendMessage", {text(bobAddress), text("never sent")});
    }
    QCOMPARE(log.count("ann@localhost: 1 messages to bob@localhost are not known to be delivered"),
             1);
    QCOMPARE(log.count("never sent"), 0);
}

void XmppMessagesTest::theHostEndsWhileMessagesAreBeingSent()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    {
        Messenger messenger;
        messenger.start();
        QVERIFY(messenger.connectBoth(server));
        for (int i = 0; i < 200; ++i)
            messenger.ann.call("sendMessage", {text(bobAddress), text(textOf("ann", 500))});
        QVERIFY(messenger.host.shutdown()); // within the time that the host states
    }
    QCOMPARE(MivoHost::abandonedThreads(), 0);
}

void XmppMessagesTest::aMessageThatTheServerDoesNotBearIsReportedAndTheOthersArrive()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    const Client& bob = messenger.bob;
    QVERIFY(messenger.connectBoth(server));
    ann.call("disconnectAccount");
    ann.call("sendMessage", {text(bobAddress), text("before")});
    const QString tooLong(600000, QChar('x')); // the server's limit is 256 KiB
    ann.call("sendMessage", {text(bobAddress), text(tooLong)});
    ann.call("sendMessage", {text(bobAddress), text("after")});
    ann.call("connectAccount");
    QVERIFY(eventually([&] {
        if (ann.state() == "waiting")
            ann.call("connectAccount");
        return ann.watcher->count("failed") == 1 && bob.watcher->count("received") == 2;
    }));
    QVERIFY(ann.watcher->all("failed").first().text == tooLong);
    QVERIFY(ann.watcher->all("failed").first().reason.startsWith(
        "The server has ended the connection because of this message: "));
    QCOMPARE(bob.watcher->all("received").at(0).text, QString("before"));
    QCOMPARE(bob.watcher->all("received").at(1).text, QString("after"));
    QVERIFY(eventually([&] { return ann.watcher->count("taken") == 2; }));
}

QTEST_GUILESS_MAIN(XmppMessagesTest)
#include "tst_xmpp_messages.moc"
