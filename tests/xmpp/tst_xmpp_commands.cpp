#include "Messenger.h"

namespace {

const QString about("Questionnaire");

MivoArg text(const QString& value)
{
    return MivoArg(value);
}

} // namespace

/** The commands of a server, with their forms, in the form of the plug-in; and pictures. */
class XmppCommandsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCommandWithAFormIsFilledInAndSubmitted();
    void aCommandCanBeCancelled();
    void aCommandWithoutFormTellsItsResult();
    void whatCannotBeDoneIsSaid();
};

void XmppCommandsTest::aCommandWithAFormIsFilledInAndSubmitted()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.enter(server, "ann");
    QVERIFY(ann.field("1.command").isNull());
    ann.call("connectAccount");
    QVERIFY(eventually([&] { return !ann.field("1.command").isNull(); }));
    const QStringList commands = ann.field("1.command").getComboBoxItems();
    QVERIFY(commands.contains(about));
    ann.fill({{"1.command", int(commands.indexOf(about))}});
    ann.field("1.runCommand").clicked();
    QVERIFY(eventually([&] { return !ann.field("1.form.name").isNull(); }));

    QCOMPARE(ann.field("1.form.name").getLabel(), QString("Name (required)"));
    QCOMPARE(ann.field("1.form.name").getText(), QString("Ann"));
    QCOMPARE(ann.field("1.form.name").getGroup(), about);
    QCOMPARE(int(ann.field("1.form.pin").getType()), 8); // a secret
    QCOMPARE(ann.field("1.form.address").getText(), QString("Main Street 1\nVerona"));
    QVERIFY(ann.field("1.form.news").isChecked());
    QCOMPARE(ann.field("1.form.colour").getComboBoxItems(),
             QStringList({"Dark red", "Light blue"}));
    QCOMPARE(ann.field("1.form.colour").getSelectedIndex(), 1u);
    QCOMPARE(ann.field("1.form.days").getLabel(), QString("Days: Monday, Friday"));
    QVERIFY(!ann.field("1.form.FORM_TYPE").getVisible());
    QVERIFY(!ann.field("1.complete").isNull());
    QVERIFY(ann.field("1.next").isNull());

    try {
        ann.fill({{"1.form.friend", "no@@address"}});
        QFAIL("the address was taken");
    } catch (const MivoHostError& error) {
        QVERIFY(error.message().contains("Friend: found \"no@@address\"; expected an address"));
    }
    ann.fill({{"1.form.name", QString::fromUtf8("Änn 😀")},
              {"1.form.pin", "1234"},
              {"1.form.address", "Side Street 2\n\nMantua"},
              {"1.form.news", false},
              {"1.form.colour", 0u},
              {"1.form.friend", "bob@localhost"}});
    QCOMPARE(ann.field("1.form.address").getText(), QString("Side Street 2\n\nMantua"));
    ann.field("1.complete").clicked();
    QVERIFY(eventually(
        [&] { return ann.field("1.commandNote").getLabel() == "Questionnaire: Received."; }));
    QStringList results;
    for (const MivoField& field : messenger.host.fields(ann.plugin)) {
        if (field.getId().startsWith("1.form."))
            results.append(field.getLabel());
    }
    QCOMPARE(
        results,
        QStringList({"FORM_TYPE: FORM_TYPE=questionnaire", QString::fromUtf8("name: name=Änn 😀"),
                     "pin: pin=1234", "address: address=Side Street 2,,Mantua", "news: news=0",
                     "colour: colour=red", "friend: friend=bob@localhost", "days: days=mon,fri",
                     "others: others=a@localhost,b@localhost"}));
    QVERIFY(ann.field("1.complete").isNull());
    const LoggedLines log;
    ann.call("disconnectAccount");
    QVERIFY(eventually([&] { return ann.field("1.command").isNull(); }));
    QVERIFY(ann.field("1.commandNote").isNull());
    QCOMPARE(log.count("Received."), 0); // said once, when it was
}

void XmppCommandsTest::aCommandCanBeCancelled()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.enter(server, "ann");
    ann.call("connectAccount");
    QVERIFY(eventually([&] { return !ann.field("1.command").isNull(); }));
    ann.call("runCommand", {text("ann@localhost"), text(about)});
    QVERIFY(eventually([&] { return !ann.field("1.cancel").isNull(); }));
    // What is required is not asked for when the command is given up.
    ann.fill({{"1.form.name", ""}});
    QVERIFY(ann.failureOf("proceedCommand", {text("ann@localhost"), text("complete")})
                .contains("Name (required): found nothing"));
    QVERIFY(ann.failureOf("proceedCommand", {text("ann@localhost"), text("next")})
                .contains("found \"next\"; expected one of complete, cancel"));
    ann.field("1.cancel").clicked();
    QVERIFY(eventually(
        [&] { return ann.field("1.commandNote").getLabel() == "Questionnaire: canceled"; }));
    QVERIFY(ann.field("1.form.name").isNull());
}

void XmppCommandsTest::aCommandWithoutFormTellsItsResult()
{
    ProsodyServer server(MIVO_PROSODY);
    startWithAccounts(server);
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    ann.enter(server, "ann");
    ann.call("connectAccount");
    QVERIFY(eventually([&] { return !ann.field("1.command").isNull(); }));
    const QString uptime = ann.field("1.command").getComboBoxItems().filter("ptime").value(0);
    ann.call("runCommand", {text("ann@localhost"), text(uptime)});
    QVERIFY(eventually([&] { return ann.field("1.commandNote").getLabel().contains("running"); }));
}

void XmppCommandsTest::whatCannotBeDoneIsSaid()
{
    Messenger messenger;
    messenger.start();
    const Client& ann = messenger.ann;
    QVERIFY(ann.failureOf("runCommand", {text("ann@localhost")})
                .contains("expected one that has been entered"));
    ann.fill({{"1.address", "ann@localhost"}});
    QVERIFY(ann.failureOf("runCommand", {MivoArg(1)}).contains("ann@localhost is not connected"));
    QVERIFY(ann.failureOf("runCommand", {MivoArg(1), text("Dance")})
                .contains("found the command \"Dance\""));
    QVERIFY(ann.failureOf("runCommand", {MivoArg(2)}).contains("there is no account 2"));
    QVERIFY(ann.failureOf("proceedCommand", {MivoArg(1), text("complete")})
                .contains("is not connected"));
}

QTEST_GUILESS_MAIN(XmppCommandsTest)
#include "tst_xmpp_commands.moc"
