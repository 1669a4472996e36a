#include "MivoHostCommand.h"

/** What mivo-host says of a call that takes too long. */
class MivoHostTimeoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTimeoutSaysWhichPluginWhichSlotAndHowLong();
};

void MivoHostTimeoutTest::aTimeoutSaysWhichPluginWhichSlotAndHowLong()
{
    // It ends while the host is being shut down, which waits for it.
    const Outcome outcome = mivoHost({"call", ECHO_PLUGIN, "takeLong", "int:31500"});
    QCOMPARE(outcome.error,
             QString("mivo-host call: echo: takeLong has not answered within 30000 ms\n"));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

QTEST_GUILESS_MAIN(MivoHostTimeoutTest)
#include "tst_mivohost_timeout.moc"
