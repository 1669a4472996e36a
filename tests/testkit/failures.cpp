#include "KitPlugin.h"

#include <MivoTest.h>

/**
 * Not a test: a program whose functions all fail, which tst_mivotestfailures runs. Each does one
 * thing that a plug-in's test may not pass with.
 */
class Failures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCallThatThrows()
    {
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        host.call(kit, "fail", mivoValues("no"));
    }
    void valuesOfACallThatThrows()
    {
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        QVERIFY(host.call(kit, "fail", mivoValues("no")).values().isEmpty());
    }
    void aStartThatFails()
    {
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        kit->willing = false;
        host.start();
    }
    void aTimerThatIsLeft()
    {
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        host.call(kit, "startTimer", mivoValues("tea"));
    }
    void aTimeOut()
    {
        MivoFakePlugin other("other");
        QSemaphore mayGo;
        other.answer("wait", [&](QList<MivoArg>&) { mayGo.acquire(); });
        MivoTestHost host;
        MivoPlugin* const fake = host.add(other);
        host.start();
        host.setBound(50);
        host.call(fake, "wait");
        host.setBound(MivoTestHost::DefaultBoundMs);
        mayGo.release();
    }
    void anUnexpectedAction()
    {
        MivoFakePlugin other("other");
        MivoTestHost host;
        host.add(other);
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        host.call(kit, "postToOther", mivoValues("nonsense"));
    }
    void anActionThatNeverComes()
    {
        const MivoFakePlugin other("other");
        other.waitFor("note", 2, 50);
    }
    void aFieldThatCannotBeFilled_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("unknown") << "nonsense" << QVariant(1);
        QTest::newRow("locked") << "locked" << QVariant("a");
        QTest::newRow("hidden") << "hidden" << QVariant(true);
        QTest::newRow("kind") << "age" << QVariant("old");
        QTest::newRow("limit") << "age" << QVariant(100);
        QTest::newRow("length") << "name" << QVariant("Ann-Marie");
        QTest::newRow("item") << "colour" << QVariant("blue");
        QTest::newRow("button") << "press" << QVariant(true);
    }
    void aFieldThatCannotBeFilled()
    {
        QFETCH(QString, id);
        QFETCH(QVariant, value);
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        MivoTestForm form = host.form(kit);
        if (value.userType() == QMetaType::Int)
            form.fill(id, value.toInt());
        else if (value.userType() == QMetaType::Bool)
            form.fill(id, value.toBool());
        else
            form.fill(id, value.toString());
    }
    void aValueThatDiffers() { QCOMPARE(MivoArg(1), MivoArg(2U)); }
    void aListThatDiffers() { QCOMPARE(mivoValues(1, "two"), mivoValues(1, "three")); }
    void aListThatIsShorter() { QCOMPARE(mivoValues(1), mivoValues(1, 2)); }
    void aFieldThatDiffers()
    {
        QCOMPARE(MivoField("Age", "age", 99, 1, 30, ""), MivoField("Age", "age", 99, 1, 31, ""));
    }
    void aFieldThatIsNotThere()
    {
        MivoTestHost host;
        KitPlugin* const kit = host.add(new KitPlugin);
        host.start();
        host.form(kit).field("nonsense");
    }
};

QTEST_GUILESS_MAIN(Failures)
#include "failures.moc"
