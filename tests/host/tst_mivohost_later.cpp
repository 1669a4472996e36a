#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>

#include "TestThreads.h"

#include <QtTest>

#include <atomic>
#include <memory>

namespace {

const char ended[] = "the host has been shut down";

/** What a call that does not block has answered. */
struct Answer
{
    int count = 0;
    QList<MivoArg> values;
    QString failure;
    QThread* thread = nullptr;

    std::function<void(const QList<MivoArg>&, const QString&)> keeper()
    {
        return [this](const QList<MivoArg>& answeredValues, const QString& answeredFailure) {
            values = answeredValues;
            failure = answeredFailure;
            thread = QThread::currentThread();
            ++count;
        };
    }
};

} // namespace

class SlowPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QSemaphore mayAnswer;

public Q_SLOTS:
    void twice(MivoPlugin* sender, QList<MivoArg>& arguments)
    {
        arguments = arguments + arguments;
        if (sender)
            arguments.append(MivoArg(sender));
    }
    void fail(MivoPlugin*, QList<MivoArg>&) { throw std::runtime_error("it failed"); }
    void wait(MivoPlugin*, QList<MivoArg>&) { mayAnswer.acquire(); }
    void act(QList<MivoArg>&) { }
    void quit(MivoPlugin*, QList<MivoArg>&) { QThread::currentThread()->quit(); }
};

class MivoHostLaterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void theAnswerComesLaterInTheThreadOfTheContext();
    void theSenderIsHandedOn();
    void whyThereIsNoAnswerIsTold_data();
    void whyThereIsNoAnswerIsTold();
    void nothingComesWhenTheContextHasGone();
    void nothingComesWhenTheThreadOfTheContextHasEnded();
    void theCallerMayBeThePluginItself();
    void whatFollowsAnAnswerMayThrow();
    void whatThePluginLeavesUnansweredIsAnsweredByItsEnd();

private:
    std::unique_ptr<MivoHost> host;
    SlowPlugin* plugin = nullptr;
};

void MivoHostLaterTest::init()
{
    host.reset(new MivoHost);
    plugin = new SlowPlugin;
    host->add(plugin);
    QVERIFY(host->start());
}

void MivoHostLaterTest::cleanup()
{
    host.reset();
}

void MivoHostLaterTest::theAnswerComesLaterInTheThreadOfTheContext()
{
    QObject context;
    Answer answer;
    host->callLater(plugin, "wait", {MivoArg(1), MivoArg(2)}, &context, answer.keeper());
    QCOMPARE(answer.count, 0);
    plugin->mayAnswer.release();
    QTRY_COMPARE_WITH_TIMEOUT(answer.count, 1, testBoundMs);
    QCOMPARE(answer.failure, QString());
    QCOMPARE(answer.values, QList<MivoArg>({MivoArg(1), MivoArg(2)}));
    QCOMPARE(answer.thread, QThread::currentThread());

    // Another thread's object has it there.
    QThread thread;
    QObject elsewhere;
    elsewhere.moveToThread(&thread);
    std::atomic<QThread*> answeredIn{nullptr};
    thread.start();
    ThreadEnd end(thread);
    host->callLater(
        plugin, "twice", {MivoArg(3)}, &elsewhere,
        [&](const QList<MivoArg>&, const QString&) { answeredIn = QThread::currentThread(); });
    QVERIFY(waitUntil([&] { return answeredIn != nullptr; }));
    QCOMPARE(answeredIn.load(), &thread);
}

void MivoHostLaterTest::theSenderIsHandedOn()
{
    QObject context;
    Answer answer;
    host->callLater(plugin, "twice", {}, &context, answer.keeper(), plugin);
    QTRY_COMPARE_WITH_TIMEOUT(answer.count, 1, testBoundMs);
    QCOMPARE(answer.values.value(0).toPlugin(), plugin);
}

void MivoHostLaterTest::whyThereIsNoAnswerIsTold_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("failure");
    QTest::newRow("the slot throws") << "plugin"
                                     << "fail"
                                     << "SlowPlugin: fail failed: it failed";
    QTest::newRow("no such slot")
        << "plugin"
        << "thrice"
        << "SlowPlugin has no slot \"thrice\"; expected one of: twice, fail, wait, quit";
    QTest::newRow("an action") << "plugin"
                               << "act"
                               << "SlowPlugin has no slot \"act\" to call: act(QList<MivoArg>&) is "
                                  "an action; expected one of: twice, fail, wait, quit";
    QTest::newRow("null") << "null"
                          << "twice"
                          << "found null; expected one of the host's plug-ins";
    QTest::newRow("after the shutdown") << "ended"
                                        << "twice" << ended;
    QTest::newRow("when its thread has ended")
        << "stopped"
        << "twice"
        << "found an object that is none, or has gone; expected one of the host's plug-ins";
}

void MivoHostLaterTest::whyThereIsNoAnswerIsTold()
{
    QFETCH(QString, target);
    QFETCH(QString, slot);
    QFETCH(QString, failure);
    QObject context;
    Answer answer;
    if (target == "ended")
        host->shutdown();
    if (target == "stopped")
        host->threadOf(plugin)->stop();
    host->callLater(target == "null" ? nullptr : plugin, slot, {MivoArg(1)}, &context,
                    answer.keeper());
    QCOMPARE(answer.count, 0); // never at once
    QTRY_COMPARE_WITH_TIMEOUT(answer.count, 1, testBoundMs);
    QCOMPARE(answer.failure, failure);
    QVERIFY(answer.values.isEmpty());
}

void MivoHostLaterTest::nothingComesWhenTheContextHasGone()
{
    Answer answer;
    {
        QObject context;
        host->callLater(plugin, "wait", {}, &context, answer.keeper());
        host->callLater(plugin, "twice", {}, &context, answer.keeper());
    }
    plugin->mayAnswer.release();
    host->shutdown();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QCOMPARE(answer.count, 0);
}

void MivoHostLaterTest::nothingComesWhenTheThreadOfTheContextHasEnded()
{
    // What waits goes with the thread: the leak sanitizer would tell otherwise.
    Answer answer;
    QThread thread;
    auto* const context = new QObject;
    context->moveToThread(&thread);
    thread.start();
    host->callLater(plugin, "wait", {}, context, answer.keeper());
    {
        ThreadEnd end(thread);
    }
    plugin->mayAnswer.release();
    host->shutdown();
    QCOMPARE(answer.count, 0);
    delete context;
}

void MivoHostLaterTest::theCallerMayBeThePluginItself()
{
    std::atomic<int> size{-1};
    QObject context;
    context.moveToThread(host->threadOf(plugin));
    host->callLater(
        plugin, "twice", {MivoArg(1)}, &context,
        [&](const QList<MivoArg>& values, const QString&) { size = int(values.size()); });
    QVERIFY(waitUntil([&] { return size != -1; }));
    QCOMPARE(size.load(), 2);
    host->shutdown();
}

void MivoHostLaterTest::whatFollowsAnAnswerMayThrow()
{
    QObject context;
    int calls = 0;
    host->callLater(plugin, "twice", {}, &context, [&](const QList<MivoArg>&, const QString&) {
        ++calls;
        throw 42;
    });
    QTRY_COMPARE_WITH_TIMEOUT(calls, 1, testBoundMs);
    Answer answer;
    host->callLater(plugin, "twice", {}, &context, answer.keeper());
    QTRY_COMPARE_WITH_TIMEOUT(answer.count, 1, testBoundMs);
    QCOMPARE(calls, 1);
}

void MivoHostLaterTest::whatThePluginLeavesUnansweredIsAnsweredByItsEnd()
{
    QObject context;
    Answer answer;
    Answer last;
    host->callLater(plugin, "wait", {}, &context, answer.keeper());
    host->callLater(plugin, "twice", {MivoArg(1)}, &context, last.keeper());
    plugin->mayAnswer.release();
    host->shutdown(); // makes what has been posted
    QTRY_COMPARE_WITH_TIMEOUT(last.count, 1, testBoundMs);
    QCOMPARE(answer.count, 1);
    QCOMPARE(last.failure, QString());
    QCOMPARE(last.values.size(), 2);
}

QTEST_GUILESS_MAIN(MivoHostLaterTest)
#include "tst_mivohost_later.moc"
