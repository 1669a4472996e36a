#include <MivoCallActionEvent.h>
#include <MivoDispatcher.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>
#include <MivoWait.h>

#include "KeptLog.h"
#include "TestThreads.h"

#include <QtTest>

#include <functional>
#include <list>
#include <memory>

Q_DECLARE_METATYPE(MivoArg)

namespace {

const int patienceMs = testBoundMs;

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
    void loop(MivoPlugin*, QList<MivoArg>&)
    {
        QEventLoop loop;
        entered.release();
        loop.exec();
        diary.write(ownName + " left its loop");
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

/** Has its twice() from its base, and says so again. */
class DerivedDiaryPlugin : public DiaryPlugin
{
    Q_OBJECT
public:
    using DiaryPlugin::DiaryPlugin;
public Q_SLOTS:
    void twice(MivoPlugin*, QList<MivoArg>& arguments) { arguments = {MivoArg(2)}; }
    void note(QList<MivoArg>&) { }
    void more(MivoPlugin*, QList<MivoArg>&) { }
};

/** Does what a test says, where it says. */
class ScriptedPlugin : public MivoPlugin
{
    Q_OBJECT
public:
    typedef std::function<void(ScriptedPlugin&)> Script;

    explicit ScriptedPlugin(const QString& pluginName)
        : ownName(pluginName)
    {
    }
    ~ScriptedPlugin() override
    {
        if (inDestructor)
            inDestructor(*this);
    }
    QString name() const override { return ownName; }
    bool initialise(MivoHost& startedBy) override
    {
        host = &startedBy;
        return true;
    }
    void shutdown() override
    {
        if (inShutdown)
            inShutdown(*this);
    }

    Script inCall;
    Script inAction;
    Script inShutdown;
    Script inDestructor;
    MivoHost* host = nullptr;

public Q_SLOTS:
    void call(MivoPlugin*, QList<MivoArg>&) { inCall(*this); }
    void act(QList<MivoArg>&) { inAction(*this); }

private:
    QString ownName;
};

/** Slots that nearly have a shape that can be called, and slots that convert their arguments. */
class NearlyPlugin : public MivoPlugin
{
    Q_OBJECT
public:
    Q_INVOKABLE void invokable(MivoPlugin*, QList<MivoArg>&) { }
public Q_SLOTS:
    void byValue(MivoPlugin*, QList<MivoArg>) { }
    void byConstReference(MivoPlugin*, const QList<MivoArg>&) { }
    void withoutSender(int) { }
    void ofAnotherSender(QObject*, QList<MivoArg>&) { }
    void ofTwo(QObject*, QList<MivoArg>) { }
    void actionByValue(QList<MivoArg>) { }
    void act(QList<MivoArg>& arguments) { arguments.value(1).toString(); }
    void call(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments.takeFirst();
        const QList<MivoArg> left = arguments;
        arguments.clear();
        for (const MivoArg& argument : left)
            argument.toString();
        left.value(left.size()).toString();
    }
    void throwText(MivoPlugin*, QList<MivoArg>& arguments)
    {
        throw std::runtime_error(arguments.first().toString().toStdString());
    }
Q_SIGNALS:
    void signal(MivoPlugin*, QList<MivoArg>&);
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
    void aRedeclaredSlotIsListedOnceAndCalled();
    void whatIsNoPluginOfTheHostIsRefused();
    void afterTheShutdownEveryCallIsRefused();
    void whoAsksWhileTheHostEndsGetsNull();
    void aCallThatIsAcceptedWhileTheHostEndsIsAnswered();
    void aSlotWithALoopOfItsOwnEndsBeforeItsPluginGoes();
    void aPluginThatBlocksForEverIsAbandoned_data();
    void aPluginThatBlocksForEverIsAbandoned();
    void aPluginThatDeletesItselfIsReportedAndNotTouched_data();
    void aPluginThatDeletesItselfIsReportedAndNotTouched();
    void aSlotThatNearlyFitsIsNamedWithWhatIsWrong_data();
    void aSlotThatNearlyFitsIsNamedWithWhatIsWrong();
    void aFailedConversionNamesItsArgument_data();
    void aFailedConversionNamesItsArgument();
    void aPluginWithoutANameIsNotTaken();
};

void MivoHostTest::initTestCase()
{
    QThread::currentThread()->setObjectName("main");
    KeptLog::start();
}

void MivoHostTest::cleanup()
{
    KeptLog::take();
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
    QCOMPARE(plugin.callSlots(),
             QStringList({"twice", "fail", "failOddly", "block", "loop", "askOther"}));
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
    const QString expected = "; expected one of: twice, fail, failOddly, block, loop, askOther";
    QCOMPARE(messageOf("thrice"), "a has no slot \"thrice\"" + expected);
    QCOMPARE(messageOf("note"),
             "a has no slot \"note\" to call: note(QList<MivoArg>&) is an action" + expected);
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
    QCOMPARE(KeptLog::take(), QStringList("a: a call failed: thrown directly"));
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
    QCOMPARE(KeptLog::take(), QStringList());
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
    QCOMPARE(KeptLog::take(), QStringList("a: an action failed: it failed later"));
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
    QCOMPARE(KeptLog::take(),
             QStringList(
                 "a: an action failed: a has no slot \"twice\" to run as an action: "
                 "twice(MivoPlugin*,QList<MivoArg>&) is a synchronous call; expected one of: note, "
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
    QCOMPARE(blocked.getRetValue().at(0).toString(), QString("unblocked"));
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
    QCOMPARE(KeptLog::take(), QStringList("a: its thread has ended before its shutdown"));
    QCOMPARE(diary.read(), QStringList({"a initialised in a", "a deleted in a"}));
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
    QCOMPARE(KeptLog::take(),
             QStringList("UnwillingPlugin: the shutdown failed: cannot end either"));
}

void MivoHostTest::aHostThatWasNotStartedFreesItsPlugins()
{
    Diary diary;
    {
        MivoHost host;
        host.add(new DiaryPlugin("a", diary));
    }
    QCOMPARE(diary.read(), QStringList("a deleted in a"));
}

void MivoHostTest::shuttingDownTwiceIsHarmless()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    QVERIFY(host.shutdown());
    QVERIFY(host.shutdown());
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

namespace {

/** The message of the MivoHostError that @p piece throws. */
template <class Piece>
QString refusalOf(Piece piece)
{
    try {
        piece();
    } catch (const MivoHostError& error) {
        return error.message();
    }
    return QString("no exception");
}

} // namespace

void MivoHostTest::aRedeclaredSlotIsListedOnceAndCalled()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DerivedDiaryPlugin("a", diary);
    host.add(plugin);
    QCOMPARE(plugin->callSlots(),
             QStringList({"twice", "fail", "failOddly", "block", "loop", "askOther", "more"}));
    QCOMPARE(plugin->actionSlots(), QStringList({"note", "failLater"}));
    QVERIFY(host.start());
    QCOMPARE(host.call(plugin, "twice", {}).size(), 1);
}

void MivoHostTest::whatIsNoPluginOfTheHostIsRefused()
{
    Diary diary;
    MivoHost host;
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    PlainPlugin foreign;
    const QString null = "found null; expected one of the host's plug-ins";
    QCOMPARE(refusalOf([&] { host.call(nullptr, "nothing", {}); }), null);
    QCOMPARE(refusalOf([&] { host.action(nullptr, "nothing", {}); }), null);
    QCOMPARE(refusalOf([&] { host.fields(nullptr); }), null);
    const QString other
        = "found an object that is none, or has gone; expected one of the host's plug-ins";
    QCOMPARE(refusalOf([&] { host.call(&foreign, "nothing", {}); }), other);
    QCOMPARE(refusalOf([&] { host.action(&foreign, "nothing", {}); }), other);
    QCOMPARE(refusalOf([&] { host.fields(&foreign); }), other);
    QVERIFY(!host.threadOf(&foreign));
}

void MivoHostTest::afterTheShutdownEveryCallIsRefused()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    host.shutdown();
    const QString ended = "the host has been shut down";
    QCOMPARE(refusalOf([&] { host.call(plugin, "twice", {}); }), ended);
    QCOMPARE(refusalOf([&] { host.action(plugin, "note", {}); }), ended);
    QCOMPARE(refusalOf([&] { host.fields(plugin); }), ended);
    QCOMPARE(refusalOf([&] { host.call(nullptr, "twice", {}); }), ended);
    QVERIFY(!host.findPlugin("a"));
    QVERIFY(!host.threadOf(plugin));
}

void MivoHostTest::whoAsksWhileTheHostEndsGetsNull()
{
    MivoHost host;
    QSemaphore ending;
    QSemaphore mayEnd;
    MivoPlugin* foundByThread = nullptr;
    MivoPlugin* foundByPlugin = nullptr;
    QString refusal;
    auto* const first = new ScriptedPlugin("first");
    first->inShutdown = [&](ScriptedPlugin& self) {
        foundByPlugin = self.host->findPlugin("second"); // which has gone
        refusal = refusalOf([&] { self.host->call(foundByPlugin, "call", {}, &self); });
    };
    auto* const second = new ScriptedPlugin("second");
    second->inShutdown = [&](ScriptedPlugin&) {
        ending.release();
        mayEnd.acquire();
    };
    host.add(first);
    host.add(second);
    QVERIFY(host.start());
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        ending.acquire();
        foundByThread = host.findPlugin("first");
        if (!foundByThread)
            foundByThread = host.plugins().value(0);
        mayEnd.release();
    }));
    foundByThread = first;
    thread->start();
    ThreadEnd end(*thread);
    QVERIFY(host.shutdown());
    QVERIFY(!foundByThread);
    QVERIFY(!foundByPlugin);
    QCOMPARE(refusal, QString("the host has been shut down"));
}

void MivoHostTest::aCallThatIsAcceptedWhileTheHostEndsIsAnswered()
{
    // Threads that go on calling plug-ins while the host ends get answers or refusals, and none
    // waits for a time-out, which would be one for this test too.
    for (int round = 0; round < 50; ++round) {
        Diary diary;
        MivoHost host;
        auto* const plugin = new DiaryPlugin("a", diary);
        host.add(plugin);
        QVERIFY(host.start());
        QSemaphore calling;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            try {
                while (true) {
                    host.call(plugin, "twice", {MivoArg(1)});
                    calling.release();
                }
            } catch (const MivoHostError&) {
            }
        }));
        thread->start();
        ThreadEnd end(*thread);
        QVERIFY(calling.tryAcquire(1 + round % 3, patienceMs));
        QVERIFY(host.shutdown());
    }
}

void MivoHostTest::aSlotWithALoopOfItsOwnEndsBeforeItsPluginGoes()
{
    Diary diary;
    MivoHost host;
    auto* const plugin = new DiaryPlugin("a", diary);
    host.add(plugin);
    QVERIFY(host.start());
    const std::unique_ptr<QThread> thread(QThread::create([&] { host.call(plugin, "loop", {}); }));
    thread->start();
    ThreadEnd end(*thread);
    QVERIFY(plugin->entered.tryAcquire(1, patienceMs));
    QVERIFY(host.shutdown());
    QCOMPARE(diary.read(),
             QStringList({"a initialised in a", "a shut down in a", "a left its loop in a",
                          "a deleted in a"}));
}

void MivoHostTest::aPluginThatBlocksForEverIsAbandoned_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QStringList>("log");
    const QString abandoned = "%1 does not end: its thread is abandoned";
    QTest::newRow("a call") << "call" << QStringList(abandoned.arg("stubborn"));
    QTest::newRow("shutdown()") << "shutdown" << QStringList(abandoned.arg("stubborn"));
    QTest::newRow("the destructor") << "destructor" << QStringList(abandoned.arg("stubborn"));
    QTest::newRow("an action") << "action"
                               << QStringList(
                                      {abandoned.arg("the dispatcher"), abandoned.arg("stubborn")});
}

void MivoHostTest::aPluginThatBlocksForEverIsAbandoned()
{
    QFETCH(QString, place);
    QFETCH(QStringList, log);
    const int abandonedBefore = MivoHost::abandonedThreads();
    QSemaphore entered;
    QSemaphore mayLeave;
    QPointer<MivoPluginThread> thread;
    QPointer<QThread> dispatcherThread;
    Diary diary;
    {
        MivoHost host;
        // For the threads that do end, too: long enough for a machine that has much to do.
        host.setShutdownTimeout(2000);
        auto* const stubborn = new ScriptedPlugin("stubborn");
        const auto block = [&](ScriptedPlugin&) {
            entered.release();
            mayLeave.acquire();
        };
        stubborn->inCall = block;
        stubborn->inAction = block;
        if (place == "shutdown")
            stubborn->inShutdown = block;
        if (place == "destructor")
            stubborn->inDestructor = block;
        host.add(new DiaryPlugin("a", diary));
        host.add(stubborn);
        thread = host.threadOf(stubborn);
        dispatcherThread = host.dispatcher()->thread();
        QVERIFY(host.start());
        if (place == "call") {
            auto* const event = new MivoCallSlotEvent;
            static std::list<MivoWait> waits; // answered when nobody waits for it
            waits.emplace_back();
            event->wait = &waits.back();
            event->arguments = {MivoArg(QString("call"))};
            event->target = stubborn;
            event->member = &MivoPlugin::callByName;
            QCoreApplication::postEvent(thread, event);
        }
        if (place == "action")
            host.action(stubborn, "act", {})();
        if (place == "call" || place == "action")
            QVERIFY(entered.tryAcquire(1, patienceMs));
        QVERIFY(!host.shutdown());
        QVERIFY(!host.shutdown());
    }
    // The others have ended as ever.
    QCOMPARE(diary.read(),
             QStringList({"a initialised in a", "a shut down in a", "a deleted in a"}));
    QCOMPARE(KeptLog::take(), log);
    QCOMPARE(MivoHost::abandonedThreads() - abandonedBefore, int(log.size()));
    QVERIFY(thread && thread->isRunning());

    // So that it does not outlive this test.
    mayLeave.release(2);
    thread->stop();
    if (place == "action") {
        dispatcherThread->quit();
        QVERIFY(dispatcherThread->wait(patienceMs));
    }
}

void MivoHostTest::aPluginThatDeletesItselfIsReportedAndNotTouched_data()
{
    QTest::addColumn<bool>("isLater");
    QTest::newRow("delete") << false;
    QTest::newRow("deleteLater()") << true;
}

void MivoHostTest::aPluginThatDeletesItselfIsReportedAndNotTouched()
{
    QFETCH(bool, isLater);
    Diary diary;
    MivoHost host;
    auto* const plugin = new ScriptedPlugin("gone");
    QSemaphore deleted;
    plugin->inDestructor = [&](ScriptedPlugin&) { deleted.release(); };
    plugin->inCall = [&](ScriptedPlugin& self) {
        if (isLater)
            self.deleteLater();
        else
            delete &self;
    };
    host.add(plugin);
    host.add(new DiaryPlugin("a", diary));
    QVERIFY(host.start());
    MivoPluginThread* const thread = host.threadOf(plugin);
    MivoPluginAction action = host.action(plugin, "act", {});

    QVERIFY(host.call(plugin, "call", {}).isEmpty());
    QVERIFY(deleted.tryAcquire(1, patienceMs));
    QVERIFY(waitUntil([&] { return !host.findPlugin("gone"); }));
    const QString gone
        = "found an object that is none, or has gone; expected one of the host's plug-ins";
    QCOMPARE(refusalOf([&] { host.call(plugin, "call", {}); }), gone);
    QCOMPARE(refusalOf([&] { host.action(plugin, "act", {}); }), gone);
    QCOMPARE(refusalOf([&] { host.fields(plugin); }), gone);
    QCOMPARE(host.plugins().size(), 1);

    // What goes round the host does not reach it either.
    action();
    QVERIFY(MivoWait::callSlot(plugin, &MivoPlugin::callByName, nullptr, {MivoArg(QString("call"))},
                               thread)
                .isEmpty());
    QVERIFY(host.shutdown());
    QCOMPARE(KeptLog::take(),
             QStringList({"gone: it has deleted itself, which is for its host to do",
                          "an action is dropped: its plug-in has gone"}));
    QVERIFY(diary.read().contains("a deleted in a"));
}

void MivoHostTest::aSlotThatNearlyFitsIsNamedWithWhatIsWrong_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("asCall");
    QTest::addColumn<QString>("asAction");
    const QString list = "takes QList<MivoArg> and not QList<MivoArg>&";
    QTest::newRow("by value") << "byValue"
                              << "byValue(MivoPlugin*,QList<MivoArg>) " + list
                              << "byValue(MivoPlugin*,QList<MivoArg>) has 2 parameters and not 1";
    QTest::newRow("by const reference")
        << "byConstReference"
        << "byConstReference(MivoPlugin*,QList<MivoArg>) " + list
        << "byConstReference(MivoPlugin*,QList<MivoArg>) has 2 parameters and not 1";
    QTest::newRow("one parameter") << "withoutSender"
                                   << "withoutSender(int) has 1 parameters and not 2"
                                   << "withoutSender(int) takes int and not QList<MivoArg>&";
    QTest::newRow("another sender")
        << "ofAnotherSender"
        << "ofAnotherSender(QObject*,QList<MivoArg>&) takes QObject* and not MivoPlugin*"
        << "ofAnotherSender(QObject*,QList<MivoArg>&) has 2 parameters and not 1";
    QTest::newRow("both differ")
        << "ofTwo"
        << "ofTwo(QObject*,QList<MivoArg>) takes QObject* and not MivoPlugin* and " + list
        << "ofTwo(QObject*,QList<MivoArg>) has 2 parameters and not 1";
    QTest::newRow("an action by value")
        << "actionByValue"
        << "actionByValue(QList<MivoArg>) has 1 parameters and not 2"
        << "actionByValue(QList<MivoArg>) " + list;
    QTest::newRow("no slot") << "invokable"
                             << "invokable(MivoPlugin*,QList<MivoArg>&) is no slot"
                             << "invokable(MivoPlugin*,QList<MivoArg>&) is no slot";
    QTest::newRow("a signal") << "signal"
                              << "signal(MivoPlugin*,QList<MivoArg>&) is a signal and no slot"
                              << "signal(MivoPlugin*,QList<MivoArg>&) is a signal and no slot";
    QTest::newRow("Qt's own") << "deleteLater"
                              << "deleteLater() has 0 parameters and not 2"
                              << "deleteLater() has 0 parameters and not 1";
    QTest::newRow("an action") << "act"
                               << "act(QList<MivoArg>&) is an action"
                               << "";
    QTest::newRow("a call") << "call"
                            << ""
                            << "call(MivoPlugin*,QList<MivoArg>&) is a synchronous call";
}

void MivoHostTest::aSlotThatNearlyFitsIsNamedWithWhatIsWrong()
{
    QFETCH(QString, slot);
    QFETCH(QString, asCall);
    QFETCH(QString, asAction);
    MivoHost host;
    auto* const plugin = new NearlyPlugin;
    host.add(plugin);
    QVERIFY(host.start());
    const QString start = "NearlyPlugin has no slot \"" + slot + "\" to ";
    if (!asCall.isEmpty())
        QCOMPARE(refusalOf([&] { host.call(plugin, slot, {}); }),
                 start + "call: " + asCall + "; expected one of: call, throwText");
    if (!asAction.isEmpty())
        QCOMPARE(refusalOf([&] { host.action(plugin, slot, {}); }),
                 start + "run as an action: " + asAction + "; expected one of: act");
}

void MivoHostTest::aFailedConversionNamesItsArgument_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QList<MivoArg>>("arguments");
    QTest::addColumn<QString>("reason");
    const MivoArg text{QString("a text")};
    const QString fromInt = "MivoArg: cannot convert MivoArg::Int to MivoArg::String";
    const QString fromNone = "MivoArg: cannot convert MivoArg::None to MivoArg::String";
    // The slot takes the first off the list, and reads the others.
    QTest::newRow("the second") << "call" << QList<MivoArg>{text, 1, text}
                                << fromInt + " (argument 2)";
    QTest::newRow("the third") << "call" << QList<MivoArg>{text, text, 1}
                               << fromInt + " (argument 3)";
    QTest::newRow("two of the kind") << "call" << QList<MivoArg>{1, 1, text} << fromInt;
    QTest::newRow("three of the kind") << "call" << QList<MivoArg>{1, 1, 1} << fromInt;
    QTest::newRow("an empty one") << "call" << QList<MivoArg>{text, MivoArg()}
                                  << fromNone + " (argument 2)";
    QTest::newRow("one too few") << "call" << QList<MivoArg>{text, text}
                                 << fromNone + " (arguments given: 2)";
    QTest::newRow("another error") << "throwText" << QList<MivoArg>{text} << "a text";
    QTest::newRow("a text much like it")
        << "throwText" << QList<MivoArg>{MivoArg(fromInt + "s"), MivoArg(1)} << fromInt + "s";
}

void MivoHostTest::aFailedConversionNamesItsArgument()
{
    QFETCH(QString, slot);
    QFETCH(QList<MivoArg>, arguments);
    QFETCH(QString, reason);
    MivoHost host;
    auto* const plugin = new NearlyPlugin;
    host.add(plugin);
    QVERIFY(host.start());
    QCOMPARE(refusalOf([&] { host.call(plugin, slot, arguments); }),
             QString("NearlyPlugin: %1 failed: %2").arg(slot, reason));

    // An action's goes to the log.
    host.action(plugin, "act", {MivoArg(true), MivoArg(7)})();
    host.shutdown();
    QCOMPARE(KeptLog::take(),
             QStringList("NearlyPlugin: an action failed: MivoArg: cannot convert MivoArg::Int to "
                         "MivoArg::String "
                         "(argument 2)"));
}

void MivoHostTest::aPluginWithoutANameIsNotTaken()
{
    class Nameless : public MivoPlugin
    {
    public:
        QString name() const override { throw std::runtime_error("none"); }
    };
    MivoHost host;
    QObject parent;
    auto* const plugin = new Nameless;
    plugin->setParent(&parent);
    QVERIFY_EXCEPTION_THROWN(host.add(plugin), std::runtime_error);
    QCOMPARE(plugin->parent(), &parent);
    QVERIFY(host.plugins().isEmpty());
}

QTEST_GUILESS_MAIN(MivoHostTest)
#include "tst_mivohost.moc"
