#include "Messenger.h"
#include "ScriptedServer.h"

namespace {

const QByteArray friends("<item jid='bob@localhost' name='Bob' subscription='both'>"
                         "<group>Friends</group></item>");
/** What shows that all before it has been read. */
const QByteArray mark("<message from='mark@localhost' type='chat'><body>the mark</body></message>");

/** A client with the account ann@localhost of a scripted server. */
class ScriptedClient
{
public:
    explicit ScriptedClient(const QList<ScriptedServer::Script>& scripts)
        : server(scripts)
        , client(host, XMPP_PLUGIN, "watcher")
    {
        if (!host.start())
            qFatal("the host does not start");
        client.call("watchMessages", {MivoArg(QString("message"))});
        client.fill({{"1.address", "ann@localhost"},
                     {"1.password", "secret"},
                     {"1.host", "127.0.0.1"},
                     {"1.port", int(server.port())},
                     {"1.resource", "test"},
                     {"1.encrypted", false}});
        client.call("connectAccount");
    }
    ~ScriptedClient() { host.shutdown(); }

    /** Waits until the mark has come. */
    bool hasReadAll() const
    {
        return eventually([this] {
            for (const Told& told : client.watcher->all("received")) {
                if (told.text == "the mark")
                    return true;
            }
            return false;
        });
    }
    QStringList shown() const
    {
        QStringList lines = client.shown();
        lines.removeAll("/mark@localhost: offline");
        return lines;
    }

    ScriptedServer server;
    MivoHost host;
    Client client;
};

ScriptedServer::Script scriptOf(const QByteArray& bytes)
{
    ScriptedServer::Script script;
    script.bytes = bytes;
    script.roster = friends;
    return script;
}

} // namespace

/** Whatever a server sends, nothing crashes and nothing forged enters the list. */
class XmppHostileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBrokenStreamEndsInASentence_data();
    void aBrokenStreamEndsInASentence();
    void pushesOfOthersAreRefused_data();
    void pushesOfOthersAreRefused();
    void pushesOfTheOwnAccountAreTaken();
    void answersOfOthersAreNotTaken();
    void brokenItemsAreLeftOut();
    void emptyAndEnormousGroupNamesAreBorne();
    void aLargeMessageArrivesWhole();
    void presencesOfStrangersAreNotShown();
    void strangersWhoAskAreShownAsSuch();
    void messagesWithoutTextOrOfOtherKindsAreNotShown();
    void aMessageThatIsSentAgainIsShownOnce();
    void whatWasNotTakenIsSentAgainUnderTheSameIdentity();
    void failuresThatOthersTellOfAreNotBelieved();
    void elementsOfAnyDepthAreBorne();
    void theHostEndsWhileTheServerDoesNotAnswer();
};

void XmppHostileTest::aBrokenStreamEndsInASentence_data()
{
    QTest::addColumn<int>("moment");
    QTest::addColumn<QByteArray>("bytes");
    const QList<QPair<const char*, int>> moments({{"at once", ScriptedServer::AtOnce},
                                                  {"features", ScriptedServer::InsteadOfFeatures},
                                                  {"login", ScriptedServer::InsteadOfLogin},
                                                  {"contact list", ScriptedServer::InsteadOfRoster},
                                                  {"afterwards", ScriptedServer::AfterPresence}});
    const QList<QPair<const char*, QByteArray>> broken(
        {{"no XML", "HTTP/1.1 400 Bad Request\r\n\r\n<"},
         {"wrong end", "<message><body>x</message>"},
         {"stream end", "</stream:stream>"},
         {"broken UTF-8", "<message><body>\xff\xfe\xc3\x28</body></message>"},
         {"zero bytes", QByteArray("<mess\0age/>", 11)},
         {"entity", "<message><body>&unknown;</body></message>"},
         {"stream error",
          "<stream:error><internal-server-error "
          "xmlns='urn:ietf:params:xml:ns:xmpp-streams'/></stream:error></stream:stream>"}});
    for (const auto& moment : moments) {
        for (const auto& bytes : broken)
            QTest::addRow("%s, %s", moment.first, bytes.first) << moment.second << bytes.second;
    }
}

void XmppHostileTest::aBrokenStreamEndsInASentence()
{
    QFETCH(const int, moment);
    QFETCH(const QByteArray, bytes);
    ScriptedServer::Script script = scriptOf(bytes);
    script.moment = static_cast<ScriptedServer::Moment>(moment);
    script.isTruncated = true;
    const LoggedLines log;
    const ScriptedClient scripted({script});
    QVERIFY(eventually([&] {
        const QString state = scripted.client.state();
        return state == "waiting" || state == "offline";
    }));
    QVERIFY(eventually([&] { return log.count("xmpp: ann@localhost: The ") > 0; }));
    for (const QString& line : scripted.shown())
        QVERIFY2(line.endsWith(": offline"), qPrintable(line));
}

void XmppHostileTest::pushesOfOthersAreRefused_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::newRow("stranger") << QByteArray("mallory@evil.example");
    QTest::newRow("contact") << QByteArray("bob@localhost");
    QTest::newRow("server") << QByteArray("localhost");
    QTest::newRow("client of the account") << QByteArray("ann@localhost/other");
    QTest::newRow("no address") << QByteArray("@");
}

void XmppHostileTest::pushesOfOthersAreRefused()
{
    QFETCH(const QByteArray, from);
    const ScriptedClient scripted({scriptOf(
        "<iq type='set' id='forged' from='" + from
        + "'><query xmlns='jabber:iq:roster'><item jid='mallory@evil.example' "
          "subscription='both'/><item jid='bob@localhost' subscription='remove'/></query></iq>"
        + mark)});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.shown(), QStringList("Friends/Bob: offline"));
    QVERIFY(eventually([&] {
        const QByteArray heard = scripted.server.heard(0);
        return heard.contains("id=\"forged\"") && heard.contains("service-unavailable");
    }));
}

void XmppHostileTest::pushesOfTheOwnAccountAreTaken()
{
    const ScriptedClient scripted(
        {scriptOf("<iq type='set' id='one'><query xmlns='jabber:iq:roster'>"
                  "<item jid='carol@localhost' name='Carol' subscription='none' "
                  "ask='subscribe'/></query></iq>"
                  "<iq type='set' id='two' from='ann@localhost'><query xmlns='jabber:iq:roster'>"
                  "<item jid='bob@localhost' subscription='remove'/></query></iq>"
                  + mark)});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.shown(), QStringList("/Carol: offline"));
    QCOMPARE(scripted.client.contact("carol@localhost").at(6).toString(), QString("none+ask"));
    QVERIFY(eventually([&] {
        const QByteArray heard = scripted.server.heard(0);
        return heard.contains("id=\"one\"") && heard.contains("id=\"two\"")
            && !heard.contains("service-unavailable");
    }));
}

void XmppHostileTest::answersOfOthersAreNotTaken()
{
    const QByteArray forged("<query xmlns='jabber:iq:roster'><item jid='mallory@evil.example' "
                            "subscription='both'/></query></iq>");
    ScriptedServer::Script script = scriptOf("<iq type='result' id='nobody asked'>" + forged
                                             + "<iq type='error' id='nor this'/>"
                                               "<iq type='result'/><iq/>"
                                             + mark);
    script.beforeRoster = "<iq type='result' id='%ID' from='mallory@evil.example'>" + forged
        + "<iq type='result' id='%ID' from='bob@localhost'>" + forged;
    const ScriptedClient scripted({script});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.shown(), QStringList("Friends/Bob: offline"));
}

void XmppHostileTest::brokenItemsAreLeftOut()
{
    ScriptedServer::Script script = scriptOf(mark);
    script.roster = "<item/><item jid=''/><item jid='a@@b'/><item jid='x@y' subscription='evil'/>"
                    "<item jid='x@y' subscription='remove'/><other jid='z@y'/>"
                    "<item xmlns='other' jid='z@y'/>"
        + friends + "<item jid='BOB@localhost/desk' name='Robert' subscription='to'/>";
    const LoggedLines log;
    const ScriptedClient scripted({script});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.shown(), QStringList("/Robert: offline")); // the same one, said twice
    QCOMPARE(log.count("in the server's list; expected an address"), 4);
}

void XmppHostileTest::emptyAndEnormousGroupNamesAreBorne()
{
    const QByteArray enormous(1000000, 'g');
    ScriptedServer::Script script = scriptOf(mark);
    script.roster = "<item jid='a@x'><group/></item><item jid='b@x'><group>  </group></item>"
                    "<item jid='c@x' name='  '><group>"
        + enormous
        + "</group></item>"
          "<item jid='d@x' name='"
        + enormous + "'><group>" + enormous
        + "x</group></item><item jid='e@x'><group>Without a group</group></item>";
    const ScriptedClient scripted({script});
    QVERIFY(scripted.hasReadAll());
    QHash<QString, QStringList> members;
    int groups = 0;
    for (const MivoArg& answer : scripted.client.call("roster")) {
        const MivoBuddyGroup group(answer.toBuddy());
        QVERIFY(group.getDisplay().size() <= 201);
        ++groups;
    }
    QCOMPARE(groups, 5); // without, two enormous ones, the one of a like name, strangers
    QCOMPARE(scripted.client.contact("a@x").at(4).toString(), QString());
    QCOMPARE(scripted.client.contact("c@x").at(3).toString(), QString("c@x"));
    QCOMPARE(scripted.client.contact("c@x").at(4).toString().size(), enormous.size());
    QVERIFY(scripted.client.contact("d@x").at(3).toString().size() <= 201);
}

void XmppHostileTest::aLargeMessageArrivesWhole()
{
    QString large;
    for (int i = 0; large.size() < 1000000; ++i)
        large += QString::number(i) + QString::fromUtf8(" ж中😀 ");
    const ScriptedClient scripted({scriptOf("<message from='bob@localhost/x' type='chat'><body>"
                                            + large.toUtf8() + "</body></message>" + mark)});
    QVERIFY(scripted.hasReadAll());
    QVERIFY(scripted.client.watcher->all("received").first().text == large);
}

void XmppHostileTest::presencesOfStrangersAreNotShown()
{
    const ScriptedClient scripted({scriptOf(
        "<presence from='mallory@evil.example/x'/><presence from='mallory@evil.example' "
        "type='subscribed'/><presence from='@'/><presence/><presence type='unavailable'/>"
        "<presence from='bob@localhost' type='unavailable'/>"
        "<presence from='bob@localhost/desk'><show>nonsense</show><priority>99999</priority>"
        "</presence><presence from='bob@localhost.evil.example/x'><show>dnd</show></presence>"
        + mark)});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.shown(), QStringList("Friends/Bob: online"));
    const QList<MivoArg> clients = scripted.client.contact("bob@localhost").at(9).toArgList();
    QCOMPARE(clients.size(), 1);
    QCOMPARE(clients.first().toArgList().at(0).toString(), QString("desk"));
    QCOMPARE(clients.first().toArgList().at(1).toInt(), 127);
}

void XmppHostileTest::strangersWhoAskAreShownAsSuch()
{
    const ScriptedClient scripted({scriptOf(
        "<presence from='mallory@evil.example' type='subscribe'><status>Let me in</status>"
        "</presence>"
        + mark)});
    QVERIFY(scripted.hasReadAll());
    const QList<MivoArg> stranger = scripted.client.contact("mallory@evil.example");
    QCOMPARE(stranger.at(0).toBuddy().getType(), MivoBuddy::Temporary);
    QVERIFY(stranger.at(10).toBool());
    QCOMPARE(scripted.client.watcher->all("asks").first().text, QString("Let me in"));
    scripted.client.call("answerSubscription", {stranger.at(0), MivoArg(false)});
    QVERIFY(eventually([&] { return scripted.server.heard(0).contains("unsubscribed"); }));
    QVERIFY(!scripted.client.contact("mallory@evil.example").at(10).toBool());
    QVERIFY(!scripted.server.heard(0).contains("\"subscribed\""));
}

void XmppHostileTest::messagesWithoutTextOrOfOtherKindsAreNotShown()
{
    const ScriptedClient scripted({scriptOf(
        "<message from='bob@localhost'/><message from='bob@localhost' type='headline'><body>x"
        "</body></message><message from='bob@localhost' type='groupchat'><body>x</body></message>"
        "<message from='@'><body>x</body></message>"
        "<message from='mallory@evil.example'><received xmlns='urn:xmpp:carbons:2'><forwarded "
        "xmlns='urn:xmpp:forward:0'><message from='bob@localhost'><body>forged</body></message>"
        "</forwarded></received></message>"
        "<message from='bob@localhost'><body xmlns='other'>x</body></message>"
        + mark)});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.client.watcher->count("received"), 1);
    QCOMPARE(scripted.shown(), QStringList("Friends/Bob: offline"));
}

void XmppHostileTest::aMessageThatIsSentAgainIsShownOnce()
{
    const QByteArray one("<message from='bob@localhost/x' type='chat' id='1'><body>one</body>"
                         "<delay xmlns='urn:xmpp:delay' stamp='2026-01-02T03:04:05Z'/></message>");
    const QByteArray two(
        "<message from='bob@localhost/x' type='chat' id='2'><body>two</body></message>");
    ScriptedServer::Script first = scriptOf(one + one + "</stream:stream>");
    const ScriptedServer::Script second = scriptOf(one + two + mark);
    const ScriptedClient scripted({first, second});
    QVERIFY(scripted.hasReadAll());
    QStringList texts;
    for (const Told& told : scripted.client.watcher->all("received"))
        texts.append(told.text);
    QCOMPARE(texts, QStringList({"one", "two", "the mark"}));
    QCOMPARE(scripted.client.contact("bob@localhost").at(7).toInt(), 2);
    QCOMPARE(scripted.client.watcher->all("received").first().time,
             QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC).toMSecsSinceEpoch());
}

void XmppHostileTest::whatWasNotTakenIsSentAgainUnderTheSameIdentity()
{
    ScriptedServer::Script cutting = scriptOf(QByteArray());
    cutting.isMute = true;
    cutting.isCutAfterMessage = true;
    const ScriptedClient scripted({cutting, cutting, scriptOf(QByteArray())});
    QVERIFY(scripted.client.becomes("online"));
    const QString id
        = scripted.client
              .call("sendMessage",
                    {MivoArg(QString("bob@localhost")), MivoArg(QString("again and again"))})
              .at(0)
              .toString();
    QVERIFY(eventually([&] { return scripted.client.watcher->count("taken") == 1; }));
    QCOMPARE(scripted.server.connections(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(scripted.server.heard(i).count("again and again"), 1);
        QVERIFY(scripted.server.heard(i).contains("id=\"" + id.toUtf8() + "\""));
    }
    QCOMPARE(scripted.client.watcher->count("queued"), 1);
}

void XmppHostileTest::failuresThatOthersTellOfAreNotBelieved()
{
    // The identity is known only when the message has gone: the forger is told by another connection.
    ScriptedServer::Script cutting = scriptOf(QByteArray());
    cutting.isMute = true;
    cutting.isCutAfterMessage = true;
    const ScriptedClient scripted({cutting,
                                   scriptOf("<message type='error' id='unknown' "
                                            "from='bob@localhost'/><message type='error' "
                                            "from='mallory@evil.example'/>"
                                            + mark)});
    QVERIFY(scripted.client.becomes("online"));
    scripted.client.call("sendMessage",
                         {MivoArg(QString("bob@localhost")), MivoArg(QString("text"))});
    QVERIFY(scripted.hasReadAll());
    QVERIFY(eventually([&] { return scripted.client.watcher->count("taken") == 1; }));
    QCOMPARE(scripted.client.watcher->count("failed"), 0);
}

void XmppHostileTest::elementsOfAnyDepthAreBorne()
{
    const int depth = 10000;
    QByteArray deep;
    for (int i = 0; i < depth; ++i)
        deep += "<a>";
    for (int i = 0; i < depth; ++i)
        deep += "</a>";
    const ScriptedClient scripted(
        {scriptOf("<message from='bob@localhost'>" + deep + "<body>deep</body></message>" + mark)});
    QVERIFY(scripted.hasReadAll());
    QCOMPARE(scripted.client.watcher->all("received").first().text, QString("deep"));
}

void XmppHostileTest::theHostEndsWhileTheServerDoesNotAnswer()
{
    ScriptedServer::Script mute = scriptOf(QByteArray());
    mute.isMute = true;
    ScriptedClient scripted({mute});
    QVERIFY(scripted.client.becomes("online"));
    scripted.client.call("sendMessage",
                         {MivoArg(QString("bob@localhost")), MivoArg(QString("text"))});
    QVERIFY(scripted.host.shutdown()); // within the time that the host states
    QCOMPARE(MivoHost::abandonedThreads(), 0);
}

QTEST_GUILESS_MAIN(XmppHostileTest)
#include "tst_xmpp_hostile.moc"
