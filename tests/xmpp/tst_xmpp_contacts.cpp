#include "Messenger.h"

/** Two plug-ins with accounts of one server see each other's presence. */
class XmppContactsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void friendsSeeEachOther();
};

void XmppContactsTest::friendsSeeEachOther()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    QVERIFY(messenger.connectBoth(server));
    QVERIFY(messenger.befriend());
    messenger.ann.call("setPresence", {MivoArg(QString("away")), MivoArg(QString("At lunch"))});
    QVERIFY(eventually([&] { return messenger.bob.shown() == QStringList("/Ann: away"); }));
    messenger.ann.call("sendMessage",
                       {MivoArg(messenger.ann.entry("bob@localhost")), MivoArg(QString("Hello"))});
    QVERIFY(eventually([&] { return messenger.bob.watcher->count("received") == 1; }));
    QVERIFY(eventually([&] { return messenger.ann.watcher->count("taken") == 1; }));
}

QTEST_GUILESS_MAIN(XmppContactsTest)
#include "tst_xmpp_contacts.moc"
