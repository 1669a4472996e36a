#include <MivoPlugin.h>
#include <MivoService.h>

#include <QtTest>

namespace {

class TestPlugin : public MivoPlugin
{
public:
    void run(QList<MivoArg>&) { }
};

MivoPluginAction actionOf(TestPlugin& plugin)
{
    return MivoPluginAction(&plugin, static_cast<MivoPluginAction::Member>(&TestPlugin::run),
                            QList<MivoArg>() << MivoArg(1));
}

QString printed(const MivoService& service)
{
    QString text;
    QDebug(&text) << service << 7;
    return text;
}

} // namespace

class MivoServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultServiceIsEmptyAndNotValid();
    void theFourValuesAreKept();
    void theNameAloneMakesAServiceValid();
    void nameAndProtocolAloneIdentifyAService();
    void copiesAreIndependent();
    void thePrintShowsNameAndProtocolAndOneBlank();
};

void MivoServiceTest::aDefaultServiceIsEmptyAndNotValid()
{
    const MivoService service;
    QVERIFY(!service.isValid());
    QVERIFY(service.getName().isEmpty());
    QVERIFY(service.getDisplayName().isEmpty());
    QVERIFY(service.getProtocol().isEmpty());
    QVERIFY(!service.getAction().isValid());
}

void MivoServiceTest::theFourValuesAreKept()
{
    TestPlugin plugin;
    const MivoPluginAction action = actionOf(plugin);
    const MivoService service("n", "d", "p", action);
    QCOMPARE(service.getName(), QString("n"));
    QCOMPARE(service.getDisplayName(), QString("d"));
    QCOMPARE(service.getProtocol(), QString("p"));
    QVERIFY(service.getAction() == action);
}

void MivoServiceTest::theNameAloneMakesAServiceValid()
{
    TestPlugin plugin;
    QVERIFY(!MivoService("", "d", "p", actionOf(plugin)).isValid());
    QVERIFY(!MivoService(QString(), "d", "p", actionOf(plugin)).isValid());
    QVERIFY(MivoService("n", "", "", MivoPluginAction()).isValid());
    QVERIFY(MivoService(" ", "", "", MivoPluginAction()).isValid());
}

void MivoServiceTest::nameAndProtocolAloneIdentifyAService()
{
    TestPlugin plugin;
    const MivoService service("n", "d", "p", actionOf(plugin));
    QVERIFY(service == MivoService("n", "other", "p", MivoPluginAction()));
    QVERIFY(!(service != MivoService("n", "other", "p", MivoPluginAction())));
    QVERIFY(!(service == MivoService("n", "d", "q", actionOf(plugin))));
    QVERIFY(service != MivoService("n", "d", "q", actionOf(plugin)));
    QVERIFY(service != MivoService("m", "d", "p", actionOf(plugin)));
    QVERIFY(service != MivoService("p", "d", "n", actionOf(plugin)));
    QVERIFY(MivoService() == MivoService());
}

void MivoServiceTest::copiesAreIndependent()
{
    const MivoService service("n", "d", "p", MivoPluginAction());
    MivoService copy = service;
    QCOMPARE(copy.getDisplayName(), QString("d"));
    copy = MivoService("m", "e", "q", MivoPluginAction());
    QCOMPARE(copy.getName(), QString("m"));
    QCOMPARE(service.getName(), QString("n"));
}

void MivoServiceTest::thePrintShowsNameAndProtocolAndOneBlank()
{
    QCOMPARE(printed(MivoService("n", "d", "p", MivoPluginAction())),
             QString("name=\"n\" protocol=\"p\" 7 "));
    QCOMPARE(printed(MivoService()), QString("name=\"\" protocol=\"\" 7 "));
}

QTEST_GUILESS_MAIN(MivoServiceTest)
#include "tst_mivoservice.moc"
