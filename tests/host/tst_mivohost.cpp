#include <MivoCallActionEvent.h>
#include <MivoDispatcher.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>
#include <MivoWait.h>

#include "TestThreads.h"

#include <QtTest>

namespace {

const int patienceMs = testBoundMs;

QMutex logMutex;
QStringList logLines;

void keepLine(const QString& line)
{
    QMutexLocker locker(&logMutex);
    logLines.append(line);
}

QStringList takeLog()
{
    QMutexLocker locker(&logMutex);
    const QStringList lines = logLines;
    logLines.clear();
    return lines;
}

/** Shared by plug-ins and the test: what happened, in order, and where. */
struct Diary
{
    void write(const QString& what)
    {
        QMutexLocker locker(&mutex);
        lines.append(what + " in " + QThread::currentThread()->objectName());
    }

    QStringList read()
    {
        QMutexLocker locker(&mutex);
        return lines;
    }

private:
    QMutex mutex;
    QStringList lines;
};

} // namespace

class DiaryPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    DiaryPlugin(const QString& pluginName, Diary& keptDiary)
        : ownName(pluginName)
        , diary(keptDiary)
    {
    }
    ~DiaryPlugin() override { diary.write(ownName + " deleted"); }

    QString name() const override { return ownName; }
    bool initialise(MivoHost& startedBy) override
    {
        host = &startedBy;
        diary.write(ownName + " initialised");
        return true;
    }
    void shutdown() override { diary.write(ownName + " shut down"); }

    QSemaphore entered;
    QSemaphore mayLeave;

public Q_SLOTS:
    void twice(MivoPlugin* sender, QList<MivoArg>& arguments)
    {
        diary.write("twice from " + (sender ? sender->name() : QString("nobody")));
        arguments = arguments + arguments;
    }
    void fail(MivoPlugin*, QList<MivoArg>&) { throw std::runtime_error("it failed"); }
    void failOddly(MivoPlugin*, QList<MivoArg>&) { throw 5; }
    void block(MivoPlugin*, QList<MivoArg>& arguments)
    {
        entered.release();
        mayLeave.acquire();
        arguments = {MivoArg(QString("unblocked"))};
    }
    void askOther(MivoPlugin*, QList<MivoArg>& arguments)
    {
        MivoPlugin* const other = host->findPlugin(arguments.takeFirst().toString());
        arguments = host->call(other, "twice", arguments, this);
    }
    void note(QList<MivoArg>& arguments)
    {
        diary.write("noted " + QString::number(arguments.size()));
    }
    void failLater(QList<MivoArg>&) { throw std::runtime_error("it failed later"); }
    void notASlotOfEitherShape(int) { }

public:
    void notASlot(MivoPlugin*, QList<MivoArg>&) { }
    void throwDirectly(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments.append(MivoArg(7));
        throw std::runtime_error("thrown directly");
    }

private:
    QString ownName;
    Diary& diary;
    MivoHost* host = nullptr;
};

/** Its form has one label, which names the thread that the form was made in. */
class FormPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    enum Way { Works, Throws };
    explicit FormPlugin(Way formWay)
        : way(formWay)
    {
    }
    QList<MivoField> fields() const override
    {
        if (way == Throws)
            throw std::runtime_error("no paper");
        return {MivoField(QThread::currentThread()->objectName(), "thread", QString())};
    }

private:
    Way way;
};

/** A subclass compiles as it stands. */
class PlainPlugin : public MivoPlugin
{
    Q_OBJECT
public Q_SLOTS:
    void nothing(MivoPlugin*, QList<MivoArg>&) { }
};

class UnwillingPlugin : public MivoPlugin
{
    Q_OBJECT
public:
    enum Way { ByReturning, ByThrowing };
    explicit UnwillingPlugin(Way refusingWay)
        : way(refusingWay)
    {
    }
    bool initialise(MivoHost&) override
    {
        if (way == ByThrowing)
            throw std::runtime_error("no network");
        return false;
    }
    void shutdown() override { throw std::runtime_error("cannot end either"); }

private:
    Way way;
};

class MivoHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void defaultsOfAPluginAreHarmless();
    void slotsOfBothShapesAreFoundByName();
    void lifeOfThePluginsRunsInTheirThreadsAndBackwardsAtTheEnd();
    void aCallRunsInThePluginsThreadAndAnswersInPlace();
    void pluginsCallEachOther();
    void whatASlotThrowsReachesTheCaller_data();
    void whatASlotThrowsReachesTheCaller();
    void aCallThatCannotBeMadeIsRefused();
    void aPostedCallThatThrowsIsLoggedAndAnswered();
    void aFormIsMadeInThePluginsThread();
    void aFormThatCannotBeMadeIsRefused();
    void anActionIsDeliveredInTheDispatchersThread();
    void anActionThatThrowsIsLogged();
    void anActionWithoutItsSlotIsRefused();
    void postedActionsAreDeliveredBeforeTheEnd();
    void aPendingCallIsAnsweredWhenItsThreadIsStopped();
    void aThreadThatEndsOnItsOwnIsNoObstacle();
    void aPluginThatCannotBeInitialisedIsReported_data();
    void aPluginThatCannotBeInitialisedIsReported();
    void aHostThatWasNotStartedFreesItsPlugins();
    void shuttingDownTwiceIsHarmless();
    void aHostIsStartedOnce();
    void aPluginLeavesItsParent();
    void whatWasNotInitialisedIsNotShutDown();
    void theDispatcherIsForgottenWithItsHost();
};

void MivoHostTest::initTestCase()
{
    QThread::currentThread()->setObjectName("main");
    MivoHostLog::setWriter(keepLine);
}

void MivoHostTest::cleanup()
{
    takeLog();
}

void MivoHostTest::defaultsOfAPluginAreHarmless()
{
    PlainPlugin plugin;
    QCOMPARE(plugin.name(), QString("PlainPlugin"));
    QCOMPARE(plugin.version(), QString());
    MivoHost host;
    QVERIFY(plugin.initialise(host));
    plugin.shutdown();
}

void MivoHostTest::slotsOfBothShapesAreFoundByName()
{
    Diary diary;
    const DiaryPlugin plugin("a", diary);
    QCOMPARE(plugin.callSlots(), QStringList({"twice", "fail", "failOddly", "block", "askOther"}));
    QCOMPARE(plugin.actionSlots(), QStringList({"note", "failLater"}));
}

void MivoHostTest::lifeOfThePluginsRunsInTheirThreadsAndBackwardsAtTheEnd()
{
    Diary diary;
    {
        MivoHost host;
        host.add(new DiaryPlugin("a", diary));
        host.add(new DiaryPlugin("b", diary));
        QVERIFY(host.start());
        QCOMPARE(host.plugins().size(), 2);
        QCOMPARE(host.findPlugin("b"), host.plugins().at(1));
        QVERIFY(!host.findPlugin("c"));
        QVERIFY(!host.threadOf(nullptr));
        QCOMPARE(host.threadOf(host.findPlugin("a"))->objectName(), QString("a"));
    }
    QCOMPARE(diary.read(),
             QStringList({"a initialised in a", "b initialised in b", "b shut down in b",
                          "b deleted in b", "a shut down in a", "a deleted in a"}));
}

void MivoHostTest::aCallRunsInThePluginsThreadAndAnswersInPlace()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    const QList<MivoArg> answer
        = host.call(host.findPlugin("a"), "twice", {MivoArg(1), MivoArg(QString("x"))});
    QCOMPARE(answer.size(), 4);
    QCOMPARE(answer.at(2).toInt(), 1);
    QCOMPARE(answer.at(3).toString(), QString("x"));
    QVERIFY(diary.read().contains("twice from nobody in a"));
}

void MivoHostTest::pluginsCallEachOther()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    host.add(new DiaryPlugin("b", diary));
    QVERIFY(host.start());
    const QList<MivoArg> answer
        = host.call(host.findPlugin("a"), "askOther", {MivoArg(QString("b")), MivoArg(5)});
    QCOMPARE(answer.size(), 2);
    QVERIFY(diary.read().contains("twice from a in b"));
    // To itself: directly, in its own thread, without a deadlock.
    QCOMPARE(
        host.call(host.findPlugin("a"), "askOther", {MivoArg(QString("a")), MivoArg(5)}).size(), 2);
    QVERIFY(diary.read().contains("twice from a in a"));
}

void MivoHostTest::whatASlotThrowsReachesTheCaller_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("message");
    QTest::newRow("std::exception") << "fail"
                                    << "a: fail failed: it failed";
    QTest::newRow("anything") << "failOddly"
                              << "a: failOddly failed: an exception that is no std::exception";
}

void MivoHostTest::whatASlotThrowsReachesTheCaller()
{
    QFETCH(QString, slot);
    QFETCH(QString, message);
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    try {
        host.call(host.findPlugin("a"), slot, {});
        QFAIL("no exception");
    } catch (const MivoHostError& error) {
        QCOMPARE(error.message(), message);
    }
    QCOMPARE(host.call(host.findPlugin("a"), "twice", {MivoArg(1)}).size(), 2);
}

void MivoHostTest::aCallThatCannotBeMadeIsRefused()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    auto messageOf = [&](const QString& slot) {
        try {
            host.call(plugin, slot, {});
        } catch (const MivoHostError& error) {
            return error.message();
        }
        return QString("no exception");
    };
    QCOMPARE(messageOf("twice"), QString("a is not running"));
    QVERIFY(host.start());
    const QString expected = "; expected one of: twice, fail, failOddly, block, askOther";
    QCOMPARE(messageOf("thrice"), "a has no slot \"thrice\"" + expected);
    QCOMPARE(messageOf("note"), "a has no slot \"note\"" + expected);
    QCOMPARE(messageOf("notASlot"), "a has no slot \"notASlot\"" + expected);
    QCOMPARE(messageOf(""), "a has no slot \"\"" + expected);
}

void MivoHostTest::aPostedCallThatThrowsIsLoggedAndAnswered()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    const QList<MivoArg> answer = MivoWait::callSlot(
        plugin, static_cast<MivoCallSlotEvent::Member>(&DiaryPlugin::throwDirectly), nullptr,
        {MivoArg(1)}, host.threadOf(plugin));
    QCOMPARE(answer.size(), 2);
    QCOMPARE(answer.last().toInt(), 7);
    QCOMPARE(takeLog(), QStringList("a: a call failed: thrown directly"));
}

void MivoHostTest::aFormIsMadeInThePluginsThread()
{
    MivoHost host;
    auto* const plugin = new FormPlugin(FormPlugin::Works);
    auto* const plain = new PlainPlugin;
    host.add(plugin);
    host.add(plain);
    QVERIFY(host.start());
    const QList<MivoField> fields = host.fields(plugin);
    QCOMPARE(fields.size(), 1);
    QCOMPARE(fields.first().getId(), QString("thread"));
    QCOMPARE(fields.first().getLabel(), QString("FormPlugin"));
    QVERIFY(host.fields(plain).isEmpty());
}

void MivoHostTest::aFormThatCannotBeMadeIsRefused()
{
    MivoHost host;
    auto* const plugin = new FormPlugin(FormPlugin::Throws);
    host.add(plugin);
    auto message = [&] {
        try {
            host.fields(plugin);
        } catch (const MivoHostError& error) {
            return error.message();
        }
        return QString("no exception");
    };
    QCOMPARE(message(), QString("FormPlugin is not running"));
    QVERIFY(host.start());
    QCOMPARE(message(), QString("FormPlugin: its form cannot be made: no paper"));
    QCOMPARE(message(), QString("FormPlugin: its form cannot be made: no paper"));
    QCOMPARE(takeLog(), QStringList());
}

void MivoHostTest::anActionIsDeliveredInTheDispatchersThread()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    QSemaphore delivered;
    connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [&](MivoPlugin* called) {
            if (called == plugin)
                delivered.release();
        },
        Qt::DirectConnection);
    host.action(plugin, "note", {MivoArg(1), MivoArg(2)})();
    QVERIFY(delivered.tryAcquire(1, patienceMs));
    QVERIFY(diary.read().contains("noted 2 in dispatcher"));
}

void MivoHostTest::anActionThatThrowsIsLogged()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    host.action(plugin, "failLater", {})();
    host.action(plugin, "note", {})();
    host.shutdown();
    QCOMPARE(takeLog(), QStringList("a: an action failed: it failed later"));
    QVERIFY(diary.read().contains("noted 0 in dispatcher"));
}

void MivoHostTest::anActionWithoutItsSlotIsRefused()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY_EXCEPTION_THROWN(host.action(plugin, "twice", {}), MivoHostError);
    QVERIFY(host.start());
    // By hand, past the check: the dispatcher reports it.
    MivoPluginAction(plugin, &MivoPlugin::runByName, {MivoArg(QString("twice"))})();
    host.shutdown();
    QCOMPARE(
        takeLog(),
        QStringList(
            "a: an action failed: a has no slot twice(QList<MivoArg>&); expected one of: note, "
            "failLater"));
}

void MivoHostTest::postedActionsAreDeliveredBeforeTheEnd()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    MivoPluginAction action = host.action(plugin, "note", {});
    for (int i = 0; i < 100; ++i)
        action();
    host.shutdown();
    QCOMPARE(diary.read().count("noted 0 in dispatcher"), 100);
}

void MivoHostTest::aPendingCallIsAnsweredWhenItsThreadIsStopped()
{
    Diary diary;
    DiaryPlugin plugin("a", diary);
    MivoPluginThread thread("a");
    thread.start();
    const auto post = [&](MivoWait& wait, void (DiaryPlugin::*slot)(MivoPlugin*, QList<MivoArg>&)) {
        auto* const event = new MivoCallSlotEvent;
        event->wait = &wait;
        event->arguments = {MivoArg(1)};
        event->target = &plugin;
        event->member = static_cast<MivoCallSlotEvent::Member>(slot);
        QCoreApplication::postEvent(&thread, event);
    };
    MivoWait blocked;
    MivoWait queued;
    post(blocked, &DiaryPlugin::block);
    QVERIFY(plugin.entered.tryAcquire(1, patienceMs));
    post(queued, &DiaryPlugin::twice);
    thread.quit();
    plugin.mayLeave.release();
    QVERIFY(blocked.wait(patienceMs));
    QVERIFY(queued.wait(patienceMs));
    QCOMPARE(blocked.getRetValue().first().toString(), QString("unblocked"));
    QCOMPARE(queued.getRetValue().size(), 2);
    QVERIFY(diary.read().contains("twice from nobody in a"));
    thread.stop();
    QVERIFY(thread.isFinished());
    thread.stop();
}

void MivoHostTest::aThreadThatEndsOnItsOwnIsNoObstacle()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    host.threadOf(plugin)->stop();
    QVERIFY_EXCEPTION_THROWN(host.call(plugin, "twice", {}), MivoHostError);
    host.shutdown();
    QCOMPARE(takeLog(), QStringList("a: its thread has ended before its shutdown"));
    QCOMPARE(diary.read(), QStringList({"a initialised in a", "a deleted in main"}));
}

void MivoHostTest::aPluginThatCannotBeInitialisedIsReported_data()
{
    QTest::addColumn<int>("way");
    QTest::addColumn<QString>("message");
    QTest::newRow("returns false")
        << int(UnwillingPlugin::ByReturning)
        << "UnwillingPlugin cannot be initialised: it says that it cannot work";
    QTest::newRow("throws") << int(UnwillingPlugin::ByThrowing)
                            << "UnwillingPlugin cannot be initialised: no network";
}

void MivoHostTest::aPluginThatCannotBeInitialisedIsReported()
{
    QFETCH(int, way);
    QFETCH(QString, message);
    MivoHost host;
    host.add(new UnwillingPlugin(static_cast<UnwillingPlugin::Way>(way)));
    QString error;
    QVERIFY(!host.start(&error));
    QCOMPARE(error, message);
    host.shutdown();
    QCOMPARE(takeLog(), QStringList("UnwillingPlugin: the shutdown failed: cannot end either"));
}

void MivoHostTest::aHostThatWasNotStartedFreesItsPlugins()
{
    Diary diary;
    {
        MivoHost host;
        host.add(new DiaryPlugin("a", diary));
    }
    QCOMPARE(diary.read(), QStringList("a deleted in main"));
}

void MivoHostTest::shuttingDownTwiceIsHarmless()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    host.shutdown();
    host.shutdown();
    QCOMPARE(diary.read().count("a deleted in a"), 1);
    QVERIFY(host.plugins().isEmpty());
}

void MivoHostTest::aHostIsStartedOnce()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    QString error;
    QVERIFY(!host.start(&error));
    QCOMPARE(error, QString("the host has been started or shut down before"));
    host.shutdown();
    QVERIFY(!host.start(&error));
    QCOMPARE(diary.read(),
             QStringList({"a initialised in a", "a shut down in a", "a deleted in a"}));
}

void MivoHostTest::aPluginLeavesItsParent()
{
    Diary diary;
    QObject parent;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    plugin->setParent(&parent);
    host.add(plugin);
    QVERIFY(parent.children().isEmpty());
    QCOMPARE(plugin->thread(), static_cast<QThread*>(host.threadOf(plugin)));
}

void MivoHostTest::whatWasNotInitialisedIsNotShutDown()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    host.add(new UnwillingPlugin(UnwillingPlugin::ByReturning));
    host.add(new DiaryPlugin("b", diary));
    QVERIFY(!host.start());
    host.shutdown();
    QCOMPARE(diary.read(),
             QStringList(
                 {"a initialised in a", "b deleted in b", "a shut down in a", "a deleted in a"}));
}

void MivoHostTest::theDispatcherIsForgottenWithItsHost()
{
    {
        MivoHost host;
        QCOMPARE(MivoCallActionEvent::dispatcher, host.dispatcher());
    }
    QVERIFY(!MivoCallActionEvent::dispatcher);
}

QTEST_GUILESS_MAIN(MivoHostTest)
#include "tst_mivohost.moc"
