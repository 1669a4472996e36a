#include "Messenger.h"

#include <QTcpServer>
#include <QTcpSocket>

/** How an account connects, and what it says when it cannot. */
class XmppConnectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anAccountConnectsAndDisconnects();
    void whatKeepsFromConnectingIsSaidInOneSentence_data();
    void whatKeepsFromConnectingIsSaidInOneSentence();
    void anUnknownCertificateIsAcceptedWhenTheUserWantsThat();
    void noEncryptionIsAcceptedWhenTheUserWantsThat();
    void brokenSettingsAreRefusedAndNothingIsChanged_data();
    void brokenSettingsAreRefusedAndNothingIsChanged();
    void theAddressOfAnAccountInUseStays();
    void anAccountThatIsTakenOutOfTheFormTakesItsContactsAlong();
    void settingsAreKeptForAllAccounts();
    void thePasswordIsNowhereButInTheForm();
    void pausesBetweenTriesGrow();
    void aSilentServerDoesNotHoldTheHostUp_data();
    void aSilentServerDoesNotHoldTheHostUp();
    void aHandshakeThatStopsIsGivenUp();

private:
    static QByteArray silentAtTls()
    {
        return "<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
               "xmlns:stream='http://etherx.jabber.org/streams' id='1' version='1.0' "
               "from='localhost'><stream:features><starttls "
               "xmlns='urn:ietf:params:xml:ns:xmpp-tls'/></stream:features><proceed "
               "xmlns='urn:ietf:params:xml:ns:xmpp-tls'/>";
    }
};

void XmppConnectionTest::anAccountConnectsAndDisconnects()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    const LoggedLines log;
    {
        Messenger messenger;
        messenger.start();
        const Client& ann = messenger.ann;
        QVERIFY(ann.call("accounts").isEmpty());
        QVERIFY(ann.failureOf("connectAccount").contains("there is no account yet"));
        ann.enter(server, "ann");
        QCOMPARE(ann.state(), QString("offline"));
        QCOMPARE(ann.stateText(), QString("Not connected"));
        ann.field("1.connect").clicked();
        QVERIFY(ann.becomes("online"));
        QCOMPARE(ann.stateText(), QString("Connected as ann@localhost/test"));
        QCOMPARE(ann.field("1.state").getLabel(), QString("Connected as ann@localhost/test"));
        QCOMPARE(ann.account().at(3).toInt(), -1);
        ann.field("1.disconnect").clicked();
        QVERIFY(ann.becomes("offline"));
        QCOMPARE(ann.field("1.state").getLabel(), QString("Not connected"));
        ann.call("connectAccount", {MivoArg(QString("ANN@localhost"))});
        QVERIFY(ann.becomes("online"));
    }
    QVERIFY(log.all().contains("xmpp: ann@localhost: Connected as ann@localhost/test"));
}

void XmppConnectionTest::whatKeepsFromConnectingIsSaidInOneSentence_data()
{
    QTest::addColumn<int>("certificate");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("sentence");
    const QString unknown("accept unknown certificates");
    QTest::newRow("wrong password")
        << int(ProsodyServer::Trusted) << "1.password" << QVariant("wrong") << "offline"
        << "The server does not let ann@localhost in: check the address and the password";
    QTest::newRow("no password")
        << int(ProsodyServer::Trusted) << "1.password" << QVariant("") << "offline"
        << "The server does not let ann@localhost in: check the address and the password";
    QTest::newRow("unknown account")
        << int(ProsodyServer::Trusted) << "1.address" << QVariant("nobody@localhost") << "offline"
        << "The server does not let nobody@localhost in: check the address and the password";
    QTest::newRow("unknown domain")
        << int(ProsodyServer::Trusted) << "1.address" << QVariant("ann@elsewhere.example")
        << "offline"
        << "The server does not know the domain elsewhere.example: check the address, and the host";
    QTest::newRow("unknown host") << int(ProsodyServer::Trusted) << "1.host"
                                  << QVariant("no.such.host.invalid") << "waiting"
                                  << "The server no.such.host.invalid was not found";
    QTest::newRow("refused port")
        << int(ProsodyServer::Trusted) << "1.port" << QVariant(1) << "waiting"
        << "The server 127.0.0.1 takes no connection at port 1 (Connection refused): check host "
           "and port, and whether the server runs";
    QTest::newRow("no TLS") << int(ProsodyServer::NoCertificate) << "1.password"
                            << QVariant("ann-secret") << "offline"
                            << "The server offers no encryption, which is required: check the "
                               "host, or do not require it";
    QTest::newRow("self-signed")
        << int(ProsodyServer::SelfSigned) << "1.password" << QVariant("ann-secret") << "offline"
        << "The certificate of the server is signed by itself: name a file with it as the trusted "
           "certificates, or accept unknown certificates";
    QTest::newRow("expired") << int(ProsodyServer::Expired) << "1.password"
                             << QVariant("ann-secret") << "offline"
                             << "The certificate of the server has expired: have it put in order, "
                                "or accept unknown certificates";
    QTest::newRow("untrusted") << int(ProsodyServer::Untrusted) << "1.password"
                               << QVariant("ann-secret") << "offline"
                               << "The certificate of the server is signed by nobody who is "
                                  "trusted (unable to get local issuer certificate): name a file";
    QTest::newRow("no certificates in the file")
        << int(ProsodyServer::Trusted) << "1.certificates" << QVariant(XMPP_PLUGIN) << "offline"
        << "The file of trusted certificates " XMPP_PLUGIN " cannot be used: check it";
}

void XmppConnectionTest::whatKeepsFromConnectingIsSaidInOneSentence()
{
    QFETCH(const int, certificate);
    QFETCH(const QString, id);
    QFETCH(const QVariant, value);
    QFETCH(const QString, state);
    QFETCH(const QString, sentence);
    ProsodyServer server(MIVO_PROSODY, static_cast<ProsodyServer::Certificate>(certificate));
    startWithAccounts(server);
    const LoggedLines log;
    {
        Messenger messenger;
        messenger.start();
        const Client& ann = messenger.ann;
        ann.enter(server, "ann", 1, {{id, value}});
        ann.call("connectAccount");
        QVERIFY(ann.becomes(state));
        QVERIFY2(ann.stateText().startsWith(sentence), qPrintable(ann.stateText()));
        QVERIFY(ann.field("1.state").getLabel().startsWith(sentence));
        QCOMPARE(ann.account().at(3).toInt() >= 0, state == "waiting");
        QVERIFY(ann.failureOf("addContact",
                              {MivoArg(ann.account().at(0).toString()),
                               MivoArg(QString("bob@localhost")), MivoArg(QString()),
                               MivoArg(QString())})
                    .contains("is not connected"));
    }
    QCOMPARE(log.count(sentence), 1);
    QCOMPARE(log.count("Connected as"), 0);
}

void XmppConnectionTest::anUnknownCertificateIsAcceptedWhenTheUserWantsThat()
{
    ProsodyServer server(MIVO_PROSODY, ProsodyServer::SelfSigned);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    messenger.ann.enter(server, "ann", 1, {{"1.acceptUnknown", true}});
    messenger.ann.call("connectAccount");
    QVERIFY(messenger.ann.becomes("online"));
}

void XmppConnectionTest::noEncryptionIsAcceptedWhenTheUserWantsThat()
{
    ProsodyServer server(MIVO_PROSODY, ProsodyServer::NoCertificate);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    messenger.ann.enter(server, "ann", 1, {{"1.encrypted", false}, {"1.certificates", ""}});
    messenger.ann.call("connectAccount");
    QVERIFY(messenger.ann.becomes("online"));
}

void XmppConnectionTest::brokenSettingsAreRefusedAndNothingIsChanged_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("no address") << "1.address" << QVariant("ann")
                                << "Account 1: found the address \"ann\"; expected one such as "
                                   "ann@example.org";
    QTest::newRow("resource") << "1.address" << QVariant("ann@localhost/x")
                              << "Account 1: found the address \"ann@localhost/x\"";
    QTest::newRow("twice") << "2.address" << QVariant("ANN@localhost")
                           << "Account 2: found the address ANN@localhost a second time";
    QTest::newRow("certificates") << "1.certificates" << QVariant("/no/such/file")
                                  << "Account 1: found the file of certificates \"/no/such/file\", "
                                     "which cannot be read";
    QTest::newRow("resource of a line end")
        << "1.resource" << QVariant("a\nb") << "Account 1: found a resource that is none";
}

void XmppConnectionTest::brokenSettingsAreRefusedAndNothingIsChanged()
{
    QFETCH(const QString, id);
    QFETCH(const QVariant, value);
    QFETCH(const QString, sentence);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.fill({{"1.address", "ann@localhost"}, {"1.port", 5}});
    try {
        ann.fill({{id, value}, {"1.port", 6}});
        QFAIL("the values were taken");
    } catch (const MivoHostError& error) {
        QVERIFY2(error.message().contains(sentence), qPrintable(error.message()));
    }
    QCOMPARE(ann.field("1.port").getIntValue(), 5);
    QCOMPARE(ann.call("accounts").size(), 1);
    QCOMPARE(ann.account().at(0).toString(), QString("ann@localhost"));
}

void XmppConnectionTest::theAddressOfAnAccountInUseStays()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.enter(server, "ann");
    ann.call("connectAccount");
    QVERIFY(ann.becomes("online"));
    try {
        ann.fill({{"1.address", "bob@localhost"}});
        QFAIL("the address was taken");
    } catch (const MivoHostError& error) {
        QVERIFY(error.message().contains("disconnect it before its address is changed"));
    }
    ann.call("disconnectAccount");
    ann.fill({{"1.address", "bob@localhost"}});
    QCOMPARE(ann.account().at(0).toString(), QString("bob@localhost"));
}

void XmppConnectionTest::anAccountThatIsTakenOutOfTheFormTakesItsContactsAlong()
{
    ProsodyServer server(MIVO_PROSODY);
    server.writeRoster("ann", {{"carol@localhost", "Carol"}});
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.enter(server, "ann");
    ann.call("connectAccount");
    QVERIFY(ann.becomes("online"));
    MivoBuddyContact carol(ann.entry("carol@localhost"));
    QVERIFY(carol.isValid());
    ann.call("disconnectAccount");
    ann.fill({{"1.address", ""}});
    QVERIFY(ann.call("accounts").isEmpty());
    QVERIFY(ann.call("roster").isEmpty());
    QCOMPARE(carol.getId(), QString("carol@localhost"));
}

void XmppConnectionTest::settingsAreKeptForAllAccounts()
{
    const QTemporaryDir folder;
    const QStringList addresses({"a@one.example", "b@two.example", "c@three.example"});
    for (const bool isSecond : {false, true}) {
        MivoHost host;
        host.setSettingsFolder(folder.path());
        Client client(host, XMPP_PLUGIN, "watcher");
        QVERIFY(host.start());
        if (!isSecond) {
            for (int i = 0; i < addresses.size(); ++i)
                client.fill({{QString("%1.address").arg(i + 1), addresses.at(i)},
                             {QString("%1.password").arg(i + 1), "hush"},
                             {QString("%1.check").arg(i + 1), 10 + i}});
        }
        for (int i = 0; i < addresses.size(); ++i) {
            QCOMPARE(client.account(i).at(0).toString(), addresses.at(i));
            QCOMPARE(client.field(QString("%1.check").arg(i + 1)).getIntValue(), 10 + i);
            QCOMPARE(client.field(QString("%1.password").arg(i + 1)).getText(),
                     QString(isSecond ? "" : "hush"));
        }
        // There is room for one more.
        QVERIFY(client.field("4.address").getVisible());
        QVERIFY(!client.field("5.address").getVisible());
        host.shutdown();
    }
}

void XmppConnectionTest::thePasswordIsNowhereButInTheForm()
{
    const QString password("ann-secret");
    ProsodyServer server(MIVO_PROSODY, ProsodyServer::NoCertificate);
    startWithAccounts(server);
    const QTemporaryDir folder;
    const LoggedLines log;
    {
        Messenger messenger;
        messenger.host.setSettingsFolder(folder.path());
        messenger.start();
        const Client& ann = messenger.ann;
        ann.enter(server, "ann", 1, {{"1.encrypted", false}});
        ann.call("connectAccount");
        QVERIFY(ann.becomes("online"));
        QCOMPARE(ann.field("1.password").getText(), password);
        QVERIFY(!ann.stateText().contains(password));
    }
    QVERIFY(!log.all().isEmpty());
    QCOMPARE(log.count(password), 0);
    const QStringList files = QDir(folder.path()).entryList(QDir::Files);
    QVERIFY(!files.isEmpty());
    for (const QString& name : files) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray kept = file.readAll();
        QVERIFY(kept.contains("ann@localhost"));
        QVERIFY(!kept.contains(password.toUtf8()));
    }
}

void XmppConnectionTest::pausesBetweenTriesGrow()
{
    const LoggedLines log;
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.fill({{"1.address", "ann@localhost"}, {"1.host", "127.0.0.1"}, {"1.port", 1}});
    // The account may try by itself in between: pauses grow then too.
    int longest = 0;
    for (int i = 0; i < 9; ++i) {
        const int tries = log.count("ann@localhost: Connecting");
        ann.call("connectAccount");
        QVERIFY(log.count("ann@localhost: Connecting") > tries); // at once, whatever pause there is
        QVERIFY(ann.becomes("waiting"));
        QVERIFY(ann.stateText().contains("The next try is in "));
        const int pause = ann.account().at(3).toInt();
        QVERIFY(pause <= 60000);
        QVERIFY(pause >= longest || longest > 45000);
        longest = qMax(longest, pause);
    }
    QVERIFY(longest >= 45000);
}

void XmppConnectionTest::aSilentServerDoesNotHoldTheHostUp_data()
{
    QTest::addColumn<QByteArray>("said");
    const QByteArray header("<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
                            "xmlns:stream='http://etherx.jabber.org/streams' id='1' version='1.0' "
                            "from='localhost'>");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a stream without features") << header;
    QTest::newRow("no handshake of TLS") << silentAtTls();
}

void XmppConnectionTest::aSilentServerDoesNotHoldTheHostUp()
{
    QFETCH(const QByteArray, said);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QList<QTcpSocket*> sockets;
    bool isAwaited = true;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket* const socket = server.nextPendingConnection();
        sockets.append(socket);
        connect(socket, &QTcpSocket::readyRead, socket, [&, socket] {
            if (!isAwaited)
                return;
            isAwaited = false;
            socket->write(said);
        });
    });
    MivoHost host;
    Client client(host, XMPP_PLUGIN, "watcher");
    QVERIFY(host.start());
    client.fill({{"1.address", "ann@localhost"},
                 {"1.host", "127.0.0.1"},
                 {"1.port", int(server.serverPort())},
                 {"1.password", "x"}});
    client.call("connectAccount");
    QTRY_VERIFY_WITH_TIMEOUT(!isAwaited && sockets.last()->bytesToWrite() == 0, testBoundMs);
    QVERIFY(host.shutdown()); // within the time that the host states
    QCOMPARE(MivoHost::abandonedThreads(), 0);
}

void XmppConnectionTest::aHandshakeThatStopsIsGivenUp()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QList<QTcpSocket*> sockets;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket* const socket = server.nextPendingConnection();
        sockets.append(socket);
        connect(socket, &QTcpSocket::readyRead, socket, [socket] {
            if (socket->readAll().contains("<stream:stream"))
                socket->write(silentAtTls());
        });
    });
    const LoggedLines log;
    MivoHost host;
    Client client(host, XMPP_PLUGIN, "watcher");
    QVERIFY(host.start());
    client.fill({{"1.address", "ann@localhost"},
                 {"1.host", "127.0.0.1"},
                 {"1.port", int(server.serverPort())},
                 {"1.password", "x"}});
    client.call("connectAccount");
    QTRY_VERIFY_WITH_TIMEOUT(
        log.count(
            "The server does not answer while the encryption is being agreed on. The next try")
            > 0,
        testBoundMs);
    QVERIFY(host.shutdown());
}

QTEST_GUILESS_MAIN(XmppConnectionTest)
#include "tst_xmpp_connection.moc"
