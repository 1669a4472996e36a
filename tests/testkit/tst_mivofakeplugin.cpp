#include "KitPlugin.h"

#include <MivoTest.h>

#include <memory>

/** Other plug-ins that a test stands in for. */
class MivoFakePluginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void lambdasAnswerCalls();
    void actionsAreTakenAndKept();
    void whatALambdaThrowsReachesTheCaller();
    void itsSlotsAreListed();
    void anUnexpectedCallFails_data();
    void anUnexpectedCallFails();
    void anUnexpectedActionFails();
    void whatItWasAskedStaysWhenTheHostHasGone();
    void aNewLambdaTakesThePlaceOfTheOld();

private:
    std::unique_ptr<MivoFakePlugin> other;
    std::unique_ptr<MivoTestHost> host;
    KitPlugin* kit = nullptr;
};

void MivoFakePluginTest::init()
{
    other = std::make_unique<MivoFakePlugin>("other");
    host = std::make_unique<MivoTestHost>();
    host->add(*other);
    kit = host->add(new KitPlugin);
}

void MivoFakePluginTest::cleanup()
{
    host.reset();
    other.reset();
}

void MivoFakePluginTest::lambdasAnswerCalls()
{
    other->answer("add", [](QList<MivoArg>& arguments) {
        arguments = mivoValues(arguments.at(0).toInt() + arguments.at(1).toInt());
    });
    other->answer("thread", [](QList<MivoArg>& arguments) {
        arguments = mivoValues(QThread::currentThread()->objectName());
    });
    host->start();
    QCOMPARE(host->call(kit, "askOther", mivoValues("add", 40, 2)).values(), mivoValues(42));
    QCOMPARE(host->call(kit, "askOther", mivoValues("thread")).values(), mivoValues("other"));
    QCOMPARE(other->asked("add").size(), 1);
    QCOMPARE(other->asked("add").at(0), mivoValues(40, 2));
    QCOMPARE(other->asked("nothing").size(), 0);
    QCOMPARE(other->name(), QString("other"));
    QCOMPARE(host->call(other->plugin(), "add", mivoValues(1, 2)).values(), mivoValues(3));
}

void MivoFakePluginTest::actionsAreTakenAndKept()
{
    other->take("note");
    other->take("thread",
                [this](QList<MivoArg>&) { setObjectName(QThread::currentThread()->objectName()); });
    host->start();
    host->call(kit, "postToOther", mivoValues("note", 1));
    host->call(kit, "postToOther", mivoValues("note", 2));
    const QList<QList<MivoArg>> notes = other->waitFor("note", 2);
    QCOMPARE(notes.size(), 2);
    QCOMPARE(notes.at(0), mivoValues(1));
    QCOMPARE(notes.at(1), mivoValues(2));
    host->post(other->plugin(), "thread");
    QCOMPARE(objectName(), QString("dispatcher"));
}

void MivoFakePluginTest::whatALambdaThrowsReachesTheCaller()
{
    other->answer("fail", [](QList<MivoArg>&) { throw std::runtime_error("not today"); });
    host->start();
    QCOMPARE(host->call(kit, "askOther", mivoValues("fail")).failure(),
             QString("kit: askOther failed: other: fail failed: not today"));
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoFakePluginTest::itsSlotsAreListed()
{
    other->answer("b", {});
    other->answer("a", {});
    other->take("c");
    QCOMPARE(other->plugin()->callSlots(), QStringList({"b", "a"}));
    QCOMPARE(other->plugin()->actionSlots(), QStringList("c"));
    host->start();
    QCOMPARE(host->call(other->plugin(), "a", mivoValues(7)).values(), mivoValues(7));
}

void MivoFakePluginTest::anUnexpectedCallFails_data()
{
    QTest::addColumn<QStringList>("known");
    QTest::addColumn<QString>("expected");
    QTest::newRow("knows others") << QStringList({"add", "count"}) << "one of: add, count";
    QTest::newRow("knows nothing") << QStringList() << "none";
}

void MivoFakePluginTest::anUnexpectedCallFails()
{
    QFETCH(QStringList, known);
    QFETCH(QString, expected);
    for (const QString& slot : known)
        other->answer(slot, {});
    host->start();
    const QString sentence
        = "the fake \"other\" was asked for the call \"nonsense\"; expected " + expected;
    QCOMPARE(host->call(kit, "askOther", mivoValues("nonsense", 3)).failure(),
             "kit: askOther failed: other: nonsense failed: " + sentence);
    QCOMPARE(other->asked("nonsense").size(), 1);
    QCOMPARE(host->shutdown().failure(), sentence);
}

void MivoFakePluginTest::anUnexpectedActionFails()
{
    host->start();
    host->call(kit, "postToOther", mivoValues("nonsense"));
    const QString sentence
        = "the fake \"other\" was asked for the action \"nonsense\"; expected none";
    QCOMPARE(host->shutdown().failure(),
             "other: an action failed: " + sentence + "\n   " + sentence);
}

void MivoFakePluginTest::whatItWasAskedStaysWhenTheHostHasGone()
{
    other->answer("number", {});
    QVERIFY(other->plugin());
    host->start();
    host->call(kit, "askOther", mivoValues("number", 1));
    host.reset();
    QCOMPARE(other->asked("number").size(), 1);
    QCOMPARE(other->asked("number").at(0), mivoValues(1));
    QVERIFY(!other->plugin());
}

void MivoFakePluginTest::aNewLambdaTakesThePlaceOfTheOld()
{
    other->answer("number", [](QList<MivoArg>& arguments) { arguments = mivoValues(1); });
    host->start();
    QCOMPARE(host->call(kit, "askOther", mivoValues("number")).values(), mivoValues(1));
    other->answer("number", [](QList<MivoArg>& arguments) { arguments = mivoValues(2); });
    QCOMPARE(host->call(kit, "askOther", mivoValues("number")).values(), mivoValues(2));
    QCOMPARE(other->plugin()->callSlots(), QStringList("number"));
}

QTEST_GUILESS_MAIN(MivoFakePluginTest)
#include "tst_mivofakeplugin.moc"
