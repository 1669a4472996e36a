#include "CommandOutcome.h"

/** A brief soak, and whether it would notice what is kept. */
class SoakTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsKept();
    void whatIsKeptIsNoticed_data();
    void whatIsKeptIsNoticed();
    void wrongUsageIsRefused_data();
    void wrongUsageIsRefused();
};

void SoakTest::nothingIsKept()
{
    const Outcome outcome = outcomeOf(SOAK, {"--rounds", "3", "--actions", "2000"});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.out + outcome.error));
    QVERIFY2(outcome.out.contains("3 rounds, 6000 actions"), qPrintable(outcome.out));
}

void SoakTest::whatIsKeptIsNoticed_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("noticed");
    QTest::newRow("an allocation") << "allocation"
                                   << "soak: live allocations: ";
    QTest::newRow("a thread") << "thread"
                              << "soak: threads: ";
    QTest::newRow("a file descriptor") << "descriptor"
                                       << "soak: file descriptors: ";
}

void SoakTest::whatIsKeptIsNoticed()
{
    QFETCH(QString, what);
    QFETCH(QString, noticed);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    if (what == "allocation")
        QSKIP("The sanitizer's allocator counts nothing");
#endif
    const Outcome outcome
        = outcomeOf(SOAK, {"--rounds", "2", "--actions", "100", "--keep", what, "--patience", "1"});
    QCOMPARE(outcome.status, 1);
    QVERIFY2(outcome.error.contains(noticed), qPrintable(outcome.error));
}

void SoakTest::wrongUsageIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no rounds") << QStringList({"--rounds", "0"});
    QTest::newRow("no number") << QStringList({"--minutes", "two"});
    QTest::newRow("nothing to keep") << QStringList({"--keep", "time"});
    QTest::newRow("an argument") << QStringList({"2"});
}

void SoakTest::wrongUsageIsRefused()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = outcomeOf(SOAK, arguments);
    QCOMPARE(outcome.status, 2);
    QVERIFY2(outcome.error.startsWith("soak: "), qPrintable(outcome.error));
}

QTEST_GUILESS_MAIN(SoakTest)
#include "tst_soak.moc"
