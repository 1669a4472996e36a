#include "EchoPlugin.h"

#include <MivoTest.h>

#include <limits>
#include <memory>

/** The plug-in that calls are tried with. */
class EchoTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void itAnswersTheArgumentsAsTheyAre();
    void itSumsUp_data();
    void itSumsUp();
    void itRefusesWhatItCannotSumUp_data();
    void itRefusesWhatItCannotSumUp();
    void itFailsAsItIsTold();
    void itTellsWhichTimersHaveFired();
    void itRunsInAThreadOfItsOwn();
    void itKeepsWhatItsActionIsRunWith();
    void itsOtherActionFails();

private:
    std::unique_ptr<MivoTestHost> host;
    EchoPlugin* echo = nullptr;
};

void EchoTest::init()
{
    host = std::make_unique<MivoTestHost>();
    echo = host->add(new EchoPlugin);
    host->start();
}

void EchoTest::cleanup()
{
    host.reset();
}

void EchoTest::itAnswersTheArgumentsAsTheyAre()
{
    const QList<MivoArg> arguments
        = mivoValues(1, "two", QStringList("three"), MivoArg(mivoValues(4.0, MivoArg())));
    QCOMPARE(host->call(echo, "echo", arguments).values(), arguments);
    QCOMPARE(host->call(echo, "echo").values(), mivoValues());
    QCOMPARE(host->call(echo, "takeLong", mivoValues(0)).values(), mivoValues());
}

void EchoTest::itSumsUp_data()
{
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<int>("sum");
    const int most = std::numeric_limits<int>::max();
    QTest::newRow("none") << QList<int>() << 0;
    QTest::newRow("two") << QList<int>({40, 2}) << 42;
    QTest::newRow("largest") << QList<int>({most - 1, 1}) << most;
    QTest::newRow("negative") << QList<int>({-40, -2}) << -42;
}

void EchoTest::itSumsUp()
{
    QFETCH(QList<int>, numbers);
    QFETCH(int, sum);
    QList<MivoArg> arguments;
    for (const int number : qAsConst(numbers))
        arguments.append(number);
    QCOMPARE(host->call(echo, "sum", arguments).values(), mivoValues(sum));
}

void EchoTest::itRefusesWhatItCannotSumUp_data()
{
    QTest::addColumn<QList<MivoArg>>("arguments");
    QTest::addColumn<QString>("failure");
    QTest::newRow("a text") << mivoValues(1, "two")
                            << "echo: sum failed: MivoArg: cannot convert MivoArg::String to "
                               "MivoArg::Int (argument 2)";
    QTest::newRow("too much") << mivoValues(std::numeric_limits<int>::max(), 1)
                              << "echo: sum failed: the sum does not fit an Int";
}

void EchoTest::itRefusesWhatItCannotSumUp()
{
    QFETCH(QList<MivoArg>, arguments);
    QFETCH(QString, failure);
    QCOMPARE(host->call(echo, "sum", arguments).failure(), failure);
}

void EchoTest::itFailsAsItIsTold()
{
    QCOMPARE(host->call(echo, "fail", mivoValues("no")).failure(),
             QString("echo: fail failed: no"));
}

void EchoTest::itTellsWhichTimersHaveFired()
{
    host->call(echo, "startTimer", mivoValues(3600000, "tea"));
    host->call(echo, "startTimer", mivoValues(3600000, "cake"));
    QCOMPARE(host->call(echo, "firedTimers").values(), mivoValues(QStringList()));
    host->fireTimer(echo, "cake");
    host->fireTimer(echo, "tea");
    QCOMPARE(host->call(echo, "firedTimers").values(), mivoValues(QStringList({"cake", "tea"})));
}

void EchoTest::itRunsInAThreadOfItsOwn()
{
    QCOMPARE(host->call(echo, "thread").values(), mivoValues("echo"));
}

void EchoTest::itKeepsWhatItsActionIsRunWith()
{
    host->post(echo, "record", mivoValues(1, "a"));
    host->post(echo, "record");
    QCOMPARE(host->call(echo, "recorded").values(), mivoValues(mivoValues(1, "a"), mivoValues()));
}

void EchoTest::itsOtherActionFails()
{
    QCOMPARE(host->post(echo, "failLater").failure(),
             QString("echo: an action failed: failLater was asked to fail"));
}

QTEST_GUILESS_MAIN(EchoTest)
#include "tst_echo.moc"
