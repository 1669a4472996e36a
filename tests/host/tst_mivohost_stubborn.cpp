#include "MivoHostCommand.h"

/** What a command does when a plug-in does not let it end; it waits a time-out out each time. */
class MivoHostStubbornTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPluginThatDoesNotEndIsAnError_data();
    void aPluginThatDoesNotEndIsAnError();
};

void MivoHostStubbornTest::aPluginThatDoesNotEndIsAnError_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QStringList>("command");
    QTest::newRow("in shutdown()") << "shutdown" << QStringList({"call", "answer"});
    QTest::newRow("in the destructor") << "destructor" << QStringList({"call", "answer"});
    QTest::newRow("in the destructor, never started") << "destructor" << QStringList({"plugins"});
}

void MivoHostStubbornTest::aPluginThatDoesNotEndIsAnError()
{
    QFETCH(QString, place);
    QFETCH(QStringList, command);
    command.insert(1, QString(FIXTURES "/blocksin%1.so").arg(place));
    const Outcome outcome = mivoHost(command);
    QCOMPARE(outcome.status, 1);
    QCOMPARE(outcome.error, QString("mivo-host: stubborn does not end: its thread is abandoned\n"));
    if (command.first() == "call")
        QVERIFY2(outcome.out.contains("42"), qPrintable(outcome.out));
}

QTEST_GUILESS_MAIN(MivoHostStubbornTest)
#include "tst_mivohost_stubborn.moc"
