#include "KitPlugin.h"

#include <MivoPluginThread.h>
#include <MivoTest.h>

#include <memory>

namespace {

const int shortMs = 50; // what is waited for here never comes

} // namespace

/** What the test kit's host does when all goes well, and the failures that it tells of. */
class MivoTestHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void aCallRunsInThePluginsThreadAndItsValuesAreWaitedFor();
    void whatIsWrongWithACallIsTold_data();
    void whatIsWrongWithACallIsTold();
    void callsRunWhileTheTestGoesOn();
    void anActionIsWaitedFor();
    void anActionThatThrowsHasFailed();
    void eachActionHasItsOwnOutcome();
    void anActionOfTheServiceIsPosted();
    void nothingIsDeliveredByAHostThatDoesNotRun();
    void whatIsNotAnsweredInTimeFails();
    void aStartThatFailsIsTold();
    void aTimerFiresByItsName();
    void aTimerThatDoesNotRunCannotFire();
    void whatATimerThrowsIsTold();
    void theLogIsKept();
    void aCleanPluginLeavesNothing();
    void aTimerThatIsLeftFails();
    void anObjectThatIsLeftFails();
    void anObjectThatIsLeftByAnActionFails();
    void aThreadThatIsLeftFails();
    void anActionThatNobodyWaitedForFailsInTheEnd();
    void aPluginThatDoesNotEndFails();
    void whatIsAllowedMayBeLeft();

private:
    std::unique_ptr<MivoTestHost> host;
    KitPlugin* kit = nullptr;
};

void MivoTestHostTest::init()
{
    host = std::make_unique<MivoTestHost>();
    kit = host->add(new KitPlugin);
    KitPlugin::endsLeftThreads = false;
}

void MivoTestHostTest::cleanup()
{
    KitPlugin::endsLeftThreads = true;
    host.reset();
    delete KitPlugin::leftObject;
    KitPlugin::leftObject = nullptr;
}

void MivoTestHostTest::aCallRunsInThePluginsThreadAndItsValuesAreWaitedFor()
{
    host->start();
    QCOMPARE(host->call(kit, "echo", mivoValues(1, "two")).values(), mivoValues(1, "two"));
    QCOMPARE(host->call(kit, "whichThread").values(), mivoValues("kit"));
    QCOMPARE(host->call(kit, "whoAsks").values(), mivoValues(static_cast<MivoPlugin*>(nullptr)));
    QCOMPARE(host->call(kit, "whoAsks", {}, kit).values(),
             mivoValues(static_cast<MivoPlugin*>(kit)));
    QVERIFY(host->call(kit, "echo").failure().isNull());
    QCOMPARE(host->host().threadOf(kit)->objectName(), QString("kit"));
}

void MivoTestHostTest::whatIsWrongWithACallIsTold_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("failure");
    QTest::newRow("throws") << "fail"
                            << "kit: fail failed: no";
    QTest::newRow("action") << "keep"
                            << "kit has no slot \"keep\" to call: keep(QList<MivoArg>&) is an "
                               "action; expected one of: echo, ";
}

void MivoTestHostTest::whatIsWrongWithACallIsTold()
{
    QFETCH(QString, slot);
    QFETCH(QString, failure);
    host->start();
    MivoTestOutcome outcome = host->call(kit, slot, mivoValues("no"));
    QVERIFY2(outcome.failure().startsWith(failure), qPrintable(outcome.failure()));
    QVERIFY(host->call(nullptr, "echo").failure().startsWith("found null; expected one of"));
}

void MivoTestHostTest::callsRunWhileTheTestGoesOn()
{
    MivoFakePlugin other("other");
    QSemaphore entered;
    QSemaphore mayGo;
    other.answer("wait", [&](QList<MivoArg>&) {
        entered.release();
        mayGo.acquire();
    });
    MivoPlugin* const fake = host->add(other);
    host->start();
    MivoTestOutcome first = host->call(fake, "wait", mivoValues(1));
    MivoTestOutcome second = host->call(fake, "wait", mivoValues(2));
    QVERIFY(entered.tryAcquire(1, 30000));
    QVERIFY(!first.isFinished());
    mayGo.release(2);
    QCOMPARE(second.values(), mivoValues(2));
    QVERIFY(first.isFinished());
    QCOMPARE(first.values(), mivoValues(1));
    host->shutdown();
}

void MivoTestHostTest::anActionIsWaitedFor()
{
    host->start();
    QCOMPARE(host->post(kit, "keep", mivoValues("a", 2)).values(), QList<MivoArg>());
    QCOMPARE(host->call(kit, "kept").values(), mivoValues("a", 2));
    QVERIFY(host->post(kit, "echo").failure().contains("is a synchronous call"));
}

void MivoTestHostTest::anActionThatThrowsHasFailed()
{
    host->start();
    QCOMPARE(host->post(kit, "failLater").failure(),
             QString("kit: an action failed: failed later"));
    // It is told of once.
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoTestHostTest::eachActionHasItsOwnOutcome()
{
    host->start();
    MivoTestOutcome first = host->post(kit, "keep", mivoValues(1));
    MivoTestOutcome second = host->post(kit, "failLater");
    MivoTestOutcome third = host->post(kit, "keep", mivoValues(3));
    QCOMPARE(third.failure(), QString());
    QVERIFY(first.isFinished());
    QCOMPARE(first.failure(), QString());
    QCOMPARE(second.failure(), QString("kit: an action failed: failed later"));
}

void MivoTestHostTest::anActionOfTheServiceIsPosted()
{
    host->start();
    host->post(kit->services().at(0).getAction());
    QCOMPARE(host->call(kit, "kept").values(), mivoValues(5));
    QCOMPARE(host->post(MivoPluginAction()).failure(),
             QString("found an invalid action; expected one that calls a plug-in"));
}

void MivoTestHostTest::nothingIsDeliveredByAHostThatDoesNotRun()
{
    QCOMPARE(host->post(kit, "keep").failure(),
             QString("kit: the action \"keep\": found a host that does not run; expected start() "
                     "before"));
    QCOMPARE(host->call(kit, "echo").failure(), QString("kit is not running"));
    QCOMPARE(host->fireTimer(kit, "tea").failure(),
             QString("the timer \"tea\": found a plug-in that does not run; expected one of the "
                     "host's, after start()"));
    host->start();
    host->shutdown();
    QCOMPARE(host->call(kit, "echo").failure(), QString("the host has been shut down"));
}

void MivoTestHostTest::whatIsNotAnsweredInTimeFails()
{
    MivoFakePlugin other("other");
    QSemaphore mayGo;
    other.answer("wait", [&](QList<MivoArg>&) { mayGo.acquire(); });
    other.take("wait", [&](QList<MivoArg>&) { mayGo.acquire(); });
    MivoPlugin* const fake = host->add(other);
    host->start();
    host->setBound(shortMs);
    QCOMPARE(host->call(fake, "wait").failure(),
             QString("other: wait has not answered within 50 ms"));
    QCOMPARE(host->fireTimer(fake, "tea").failure(),
             QString("other: the timer \"tea\" has not been served within 50 ms"));
    QCOMPARE(host->post(fake, "wait").failure(),
             QString("other: the action \"wait\" has not been delivered within 50 ms"));
    host->setBound(MivoTestHost::DefaultBoundMs);
    mayGo.release(2);
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoTestHostTest::aStartThatFailsIsTold()
{
    kit->willing = false;
    QCOMPARE(host->start().failure(),
             QString("kit cannot be initialised: it says that it cannot work"));
}

void MivoTestHostTest::aTimerFiresByItsName()
{
    host->start();
    host->call(kit, "startTimer", mivoValues("tea"));
    host->call(kit, "startPlainTimer", mivoValues("cake"));
    host->fireTimer(kit, "cake");
    host->fireTimer(kit, "tea");
    QCOMPARE(host->call(kit, "whatFired").values(),
             mivoValues(QStringList({"cake in kit", "tea in kit"})));
    // Both have fired for good.
    QCOMPARE(host->fireTimer(kit, "tea").failure(),
             QString("kit: the timer \"tea\" does not run; expected that any does"));
    QCOMPARE(host->fireTimer(kit, "cake").failure(),
             QString("kit: the timer \"cake\" does not run; expected that any does"));
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoTestHostTest::aTimerThatDoesNotRunCannotFire()
{
    MivoFakePlugin other("other");
    MivoPlugin* const fake = host->add(other);
    host->start();
    host->call(kit, "startPlainTimer", mivoValues("tea"));
    host->call(kit, "startPlainTimer", mivoValues("cake"));
    QCOMPARE(host->fireTimer(kit, "lunch").failure(),
             QString("kit: the timer \"lunch\" does not run; expected one of: cake, tea"));
    QCOMPARE(host->fireTimer(fake, "tea").failure(),
             QString("other: the timer \"tea\" does not run; expected that any does"));
    host->shutdown();
}

void MivoTestHostTest::whatATimerThrowsIsTold()
{
    host->start();
    host->call(kit, "startPlainTimer", mivoValues("trouble"));
    QCOMPARE(host->fireTimer(kit, "trouble").failure(),
             QString("kit: the timer \"trouble\" failed: out of time"));
}

void MivoTestHostTest::theLogIsKept()
{
    host->start();
    host->call(kit, "postToItself", mivoValues("failLater"));
    host->post(kit, "keep"); // comes behind it
    QCOMPARE(host->takeLog(), QStringList("kit: an action failed: failed later"));
    QCOMPARE(host->takeLog(), QStringList());
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoTestHostTest::aCleanPluginLeavesNothing()
{
    host->start();
    host->call(kit, "startTimer", mivoValues("stopped"));
    host->call(kit, "stopTimer");
    host->call(kit, "startTimer", mivoValues("fired"));
    host->fireTimer(kit, "fired");
    host->call(kit, "useChildren");
    host->call(kit, "joinThread");
    QCOMPARE(host->shutdown().failure(), QString());
    QCOMPARE(host->shutdown().failure(), QString());
}

void MivoTestHostTest::aTimerThatIsLeftFails()
{
    host->start();
    host->call(kit, "startTimer", mivoValues("tea"));
    QCOMPARE(host->shutdown().failure(),
             QString("the timer \"tea\" is left, started in the thread \"kit\"; expected it to "
                     "have fired or to be stopped"));
}

void MivoTestHostTest::anObjectThatIsLeftFails()
{
    host->start();
    host->call(kit, "leaveObject", mivoValues("lost"));
    QCOMPARE(host->shutdown().failure(),
             QString("a QTimer \"lost\" is left, made in the thread \"kit\"; expected it to be "
                     "deleted"));
}

void MivoTestHostTest::anObjectThatIsLeftByAnActionFails()
{
    host->start();
    host->post(kit, "leaveObjectLater");
    QCOMPARE(host->shutdown().failure(),
             QString("a QObject is left, made in the thread \"dispatcher\"; expected it to be "
                     "deleted"));
}

void MivoTestHostTest::aThreadThatIsLeftFails()
{
    host->start();
    host->call(kit, "leaveThread");
    host->setBound(shortMs);
    const QString failure = host->shutdown().failure();
    QVERIFY2(failure.startsWith("the thread \"")
                 && failure.endsWith("\" still runs; expected it to have ended"),
             qPrintable(failure));
}

void MivoTestHostTest::anActionThatNobodyWaitedForFailsInTheEnd()
{
    host->start();
    host->call(kit, "postToItself", mivoValues("failLater"));
    QCOMPARE(host->shutdown().failure(), QString("kit: an action failed: failed later"));
}

void MivoTestHostTest::aPluginThatDoesNotEndFails()
{
    kit->blocksAtTheEnd = true;
    host->start();
    host->setBound(shortMs);
    QCOMPARE(host->shutdown().failure(), QString("kit does not end: its thread is abandoned"));
    // Its thread goes on for a while with what it has.
    QThread* const thread = kit->thread();
    thread->quit();
    QVERIFY(thread->wait(30000));
    delete thread;
}

void MivoTestHostTest::whatIsAllowedMayBeLeft()
{
    host->allowLeft("QTimer");
    host->start();
    host->call(kit, "leaveObject", mivoValues("lost"));
    QCOMPARE(host->shutdown().failure(), QString());
}

QTEST_GUILESS_MAIN(MivoTestHostTest)
#include "tst_mivotesthost.moc"
