#include <MivoHost.h>
#include <MivoPlugin.h>

#include <QtTest>

/** Answers when it is told to. */
class LatePlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QSemaphore mayAnswer;

public Q_SLOTS:
    void wait(MivoPlugin*, QList<MivoArg>&) { mayAnswer.acquire(); }
};

/** Waits the time-out of a call out, which is half a minute. */
class MivoHostLaterSlowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theTimeOutIsAnAnswer();
};

void MivoHostLaterSlowTest::theTimeOutIsAnAnswer()
{
    MivoHost host;
    auto* const plugin = new LatePlugin;
    host.add(plugin);
    QVERIFY(host.start());
    QObject context;
    QStringList failures;
    QElapsedTimer time;
    time.start();
    qint64 answeredAfter = 0;
    host.callLater(plugin, "wait", {}, &context,
                   [&](const QList<MivoArg>& values, const QString& failure) {
                       QVERIFY(values.isEmpty());
                       failures.append(failure);
                       answeredAfter = time.elapsed();
                   });
    QTRY_COMPARE_WITH_TIMEOUT(failures.size(), 1, 120000);
    QCOMPARE(failures, QStringList("LatePlugin: wait: no answer within 30000 ms"));
    QVERIFY2(answeredAfter >= 28000, qPrintable(QString::number(answeredAfter))); // a coarse timer

    // The late answer is lost.
    plugin->mayAnswer.release();
    host.shutdown();
    QCoreApplication::processEvents();
    QCOMPARE(failures.size(), 1);
}

QTEST_GUILESS_MAIN(MivoHostLaterSlowTest)
#include "tst_mivohost_later_slow.moc"
