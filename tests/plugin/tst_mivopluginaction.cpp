#include "MivoPluginAction.h"

#include "MivoCallActionEvent.h"
#include "TestPlugin.h"
#include "TestThreads.h"

#include <QtTest>

#include <type_traits>
#include <utility>

namespace {

/** A dispatcher that does what is required of one, and records it. */
class Dispatcher : public QObject
{
public:
    bool event(QEvent* event) override
    {
        types.append(event->type());
        if (event->type() != MivoCallActionEvent::EventType)
            return QObject::event(event);
        auto* const call = static_cast<MivoCallActionEvent*>(event);
        received.append(call->arguments);
        MivoPlugin* const plugin = call->plugin;
        const MivoPluginAction::Member member = call->member;
        (plugin->*member)(call->arguments);
        left.append(call->arguments);
        delivered.release();
        return true;
    }

    QList<int> types; ///< of all events
    QList<QList<MivoArg>> received;
    QList<QList<MivoArg>> left;
    QSemaphore delivered;
};

MivoPluginAction::Member act()
{
    return TestPlugin::action(&TestPlugin::act);
}

MivoPluginAction::Member otherAct()
{
    return TestPlugin::action(&TestPlugin::otherAct);
}

} // namespace

class tst_MivoPluginAction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void fieldsStandInTheAgreedOrder();
    void defaultActionIsEmptyAndNotValid();
    void validNeedsAPluginAndAMember();
    void keepsItsArguments();
    void copiesShareTheArgumentsAndStayIndependent();
    void movedFromActionIsEmpty();

    void equalWhenPluginMemberAndArgumentsAre_data();
    void equalWhenPluginMemberAndArgumentsAre();
    void sharedListsAreEqualWhateverTheyHold();
    void sharedListsAreNotLookedInto();
    void nestedActionsAreComparedWherever();

    void actionThatIsNotValidPostsNothingAndLeavesTheList();
    void emptyListIsReplacedByTheStoredArguments();
    void givenArgumentsArePostedAsTheyAre();
    void withoutAListTheStoredArgumentsArePosted();
    void eachRunPostsAnEventOfItsOwn();
    void runKeepsItsPlaceAmongOtherEvents();
    void whatTheMemberDoesToTheListStaysInTheEvent();
    void callComesFromTheEventLoopAlsoInTheDispatchersThread();
    void callRunsInTheDispatchersThreadWhereverItWasMade();
    void eventIsDeletedAfterDelivery();
    void withoutADispatcherTheCallIsLost();

private:
    QScopedPointer<Dispatcher> dispatcher;
    QScopedPointer<TestPlugin> plugin;
    QScopedPointer<TestPlugin> otherPlugin;
};

void tst_MivoPluginAction::init()
{
    dispatcher.reset(new Dispatcher);
    plugin.reset(new TestPlugin);
    otherPlugin.reset(new TestPlugin);
    MivoCallActionEvent::dispatcher = dispatcher.data();
}

void tst_MivoPluginAction::cleanup()
{
    MivoCallActionEvent::dispatcher = nullptr;
}

void tst_MivoPluginAction::fieldsStandInTheAgreedOrder()
{
    struct Fields
    {
        MivoPlugin* plugin;
        MivoPluginAction::Member member;
        QList<MivoArg> arguments;
    };
    static_assert(!std::is_polymorphic<MivoPluginAction>::value, "");
    static_assert(std::is_standard_layout<MivoPluginAction>::value, "");
    static_assert(sizeof(MivoPluginAction) == sizeof(Fields), "");

    const MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    const auto* const fields = reinterpret_cast<const char*>(&action);
    MivoPlugin* heldPlugin = nullptr;
    memcpy(&heldPlugin, fields, sizeof heldPlugin);
    QVERIFY(heldPlugin == plugin.data());
    MivoPluginAction::Member heldMember = nullptr;
    memcpy(&heldMember, fields + sizeof heldPlugin, sizeof heldMember);
    QVERIFY(heldMember == act());
}

void tst_MivoPluginAction::defaultActionIsEmptyAndNotValid()
{
    const MivoPluginAction action;
    QVERIFY(!action.isValid());
    QVERIFY(action.getActionData().isEmpty());
    QVERIFY(action == MivoPluginAction(nullptr, nullptr, QList<MivoArg>()));
}

void tst_MivoPluginAction::validNeedsAPluginAndAMember()
{
    const QList<MivoArg> arguments = QList<MivoArg>() << 1;
    QVERIFY(MivoPluginAction(plugin.data(), act(), arguments).isValid());
    QVERIFY(MivoPluginAction(plugin.data(), act(), QList<MivoArg>()).isValid());
    QVERIFY(!MivoPluginAction(plugin.data(), nullptr, arguments).isValid());
    QVERIFY(!MivoPluginAction(nullptr, act(), arguments).isValid());
    QVERIFY(!MivoPluginAction(nullptr, nullptr, arguments).isValid());
}

void tst_MivoPluginAction::keepsItsArguments()
{
    QList<MivoArg> arguments = QList<MivoArg>() << 1 << QString("a");
    const MivoPluginAction action(plugin.data(), act(), arguments);
    QVERIFY(action.getActionData().isSharedWith(arguments));
    arguments.clear();
    QCOMPARE(action.getActionData(), QList<MivoArg>() << 1 << QString("a"));
}

void tst_MivoPluginAction::copiesShareTheArgumentsAndStayIndependent()
{
    const MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    MivoPluginAction copy(action);
    QVERIFY(copy.getActionData().isSharedWith(action.getActionData()));
    QVERIFY(copy == action);
    copy = MivoPluginAction(otherPlugin.data(), otherAct(), QList<MivoArg>() << 2);
    QVERIFY(copy != action);
    QCOMPARE(action.getActionData(), QList<MivoArg>() << 1);
    copy = action;
    QVERIFY(copy.getActionData().isSharedWith(action.getActionData()));
    const MivoPluginAction& itself = copy;
    copy = itself;
    QVERIFY(copy == action);
}

void tst_MivoPluginAction::equalWhenPluginMemberAndArgumentsAre_data()
{
    QTest::addColumn<bool>("samePlugin");
    QTest::addColumn<bool>("sameMember");
    QTest::addColumn<QString>("arguments"); // a character each
    QTest::addColumn<bool>("equal");

    QTest::newRow("all the same") << true << true << "ab" << true;
    QTest::newRow("another plug-in") << false << true << "ab" << false;
    QTest::newRow("another member") << true << false << "ab" << false;
    QTest::newRow("another last argument") << true << true << "ac" << false;
    QTest::newRow("another first argument") << true << true << "bb" << false;
    QTest::newRow("one argument fewer") << true << true << "a" << false;
    QTest::newRow("one argument more") << true << true << "abc" << false;
    QTest::newRow("no argument") << true << true << "" << false;
}

void tst_MivoPluginAction::equalWhenPluginMemberAndArgumentsAre()
{
    QFETCH(bool, samePlugin);
    QFETCH(bool, sameMember);
    QFETCH(QString, arguments);
    QFETCH(bool, equal);

    QList<MivoArg> list;
    for (const QChar each : arguments)
        list.append(QString(each));
    const MivoPluginAction a(plugin.data(), act(),
                             QList<MivoArg>() << QString("a") << QString("b"));
    const MivoPluginAction b(samePlugin ? plugin.data() : otherPlugin.data(),
                             sameMember ? act() : otherAct(), list);
    QCOMPARE(a == b, equal);
    QCOMPARE(b == a, equal);
    QCOMPARE(a != b, !equal);
}

void tst_MivoPluginAction::sharedListsAreEqualWhateverTheyHold()
{
    // Two separately made variants of a list are never equal.
    const QList<MivoArg> list = QList<MivoArg>() << MivoArg(QList<MivoArg>());
    const QList<MivoArg> same = QList<MivoArg>() << MivoArg(QList<MivoArg>());
    const MivoPluginAction action(plugin.data(), act(), list);
    QVERIFY(action == MivoPluginAction(plugin.data(), act(), list));
    QVERIFY(action != MivoPluginAction(plugin.data(), act(), same));
    // Validity plays no part.
    QVERIFY(MivoPluginAction(nullptr, nullptr, list) == MivoPluginAction(nullptr, nullptr, list));
    QVERIFY(MivoPluginAction(nullptr, act(), list) != MivoPluginAction(nullptr, nullptr, list));
}

void tst_MivoPluginAction::movedFromActionIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoPluginAction>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoPluginAction>::value, "");
    const auto isEmpty = [](const MivoPluginAction& action) {
        return action == MivoPluginAction() && action.getActionData().isEmpty();
    };
    const MivoArg witness(5);
    MivoPluginAction source(plugin.data(), act(), QList<MivoArg>() << witness);
    const MivoPluginAction original(source);

    MivoPluginAction target(std::move(source));
    QVERIFY(isEmpty(source)); // NOLINT(bugprone-use-after-move)
    QVERIFY(target == original);

    MivoPluginAction assigned(otherPlugin.data(), otherAct(), QList<MivoArg>() << 1);
    assigned = std::move(target);
    QVERIFY(isEmpty(target)); // NOLINT(bugprone-use-after-move)
    QVERIFY(assigned == original);

    MivoPluginAction& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(assigned == original);
    assigned = MivoPluginAction();
    QCOMPARE(handlesOf(witness), 2); // here and in the list that original holds
}

void tst_MivoPluginAction::sharedListsAreNotLookedInto()
{
    // Each holds the one before twice: looked into, this would take for ever.
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    for (int i = 0; i < 60; ++i) {
        const MivoArg inner(action);
        action = MivoPluginAction(plugin.data(), act(), QList<MivoArg>() << inner << inner);
    }
    const MivoPluginAction copy(action);
    QVERIFY(copy == action);
}

void tst_MivoPluginAction::nestedActionsAreComparedWherever()
{
    const auto outer = [this](int first, int second) {
        QList<MivoArg> arguments;
        for (const int number : {first, second})
            arguments << MivoPluginAction(plugin.data(), act(), QList<MivoArg>() << number)
                      << QString("between");
        return MivoPluginAction(plugin.data(), act(), arguments);
    };
    QVERIFY(outer(1, 2) == outer(1, 2));
    QVERIFY(outer(1, 2) != outer(3, 2));
    QVERIFY(outer(1, 2) != outer(1, 3));

    const MivoPluginAction inner(plugin.data(), act(), QList<MivoArg>() << qQNaN());
    const MivoPluginAction otherInner(plugin.data(), otherAct(), inner.getActionData());
    const auto holding = [this](const MivoArg& argument) {
        return MivoPluginAction(plugin.data(), act(), QList<MivoArg>() << argument);
    };
    QVERIFY(holding(inner) == holding(inner)); // one list, although a NaN is in it
    QVERIFY(holding(inner) != holding(otherInner));
    QVERIFY(holding(inner) != holding(1));
    QVERIFY(holding(1) != holding(inner));
    QVERIFY(holding(inner) != holding(MivoArg()));
    QVERIFY(holding(MivoPluginAction()) == holding(MivoPluginAction()));
}

void tst_MivoPluginAction::actionThatIsNotValidPostsNothingAndLeavesTheList()
{
    const QList<MivoArg> stored = QList<MivoArg>() << 1;
    MivoPluginAction actions[]
        = {MivoPluginAction(), MivoPluginAction(plugin.data(), nullptr, stored),
           MivoPluginAction(nullptr, act(), stored)};
    for (MivoPluginAction& action : actions) {
        QList<MivoArg> empty;
        action(empty);
        QVERIFY(empty.isEmpty());
        QList<MivoArg> given = QList<MivoArg>() << 2;
        action(given);
        QCOMPARE(given, QList<MivoArg>() << 2);
        action();
    }
    QCoreApplication::sendPostedEvents();
    QCOMPARE(dispatcher->received.size(), 0);
}

void tst_MivoPluginAction::emptyListIsReplacedByTheStoredArguments()
{
    const QList<MivoArg> stored = QList<MivoArg>() << 1 << QString("a");
    MivoPluginAction action(plugin.data(), act(), stored);
    QList<MivoArg> given;
    action(given);
    QVERIFY(given.isSharedWith(stored));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(plugin->calls, 1);
    QCOMPARE(plugin->seen, QList<MivoArg>() << 1 << QString("a"));
    QCOMPARE(given, QList<MivoArg>() << 1 << QString("a"));
}

void tst_MivoPluginAction::givenArgumentsArePostedAsTheyAre()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1 << QString("a"));
    QList<MivoArg> given = QList<MivoArg>() << true;
    action(given);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(plugin->seen, QList<MivoArg>() << true);
    QCOMPARE(given, QList<MivoArg>() << true);
    QCOMPARE(action.getActionData(), QList<MivoArg>() << 1 << QString("a"));
}

void tst_MivoPluginAction::withoutAListTheStoredArgumentsArePosted()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1 << QString("a"));
    action();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(plugin->calls, 1);
    QCOMPARE(plugin->seen, QList<MivoArg>() << 1 << QString("a"));

    // No stored arguments either: the call is made all the same.
    MivoPluginAction bare(plugin.data(), otherAct(), QList<MivoArg>());
    bare();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(plugin->otherCalls, 1);
    QCOMPARE(dispatcher->received.last().size(), 0);
}

void tst_MivoPluginAction::eachRunPostsAnEventOfItsOwn()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    for (int i = 0; i < 3; ++i) {
        QList<MivoArg> given = QList<MivoArg>() << i;
        action(given);
    }
    QCoreApplication::sendPostedEvents();
    QCOMPARE(dispatcher->received.size(), 3);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(dispatcher->received.at(i), QList<MivoArg>() << i);
}

void tst_MivoPluginAction::runKeepsItsPlaceAmongOtherEvents()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    QCoreApplication::postEvent(dispatcher.data(), new QEvent(QEvent::Type(QEvent::User + 1)));
    action();
    QCoreApplication::postEvent(dispatcher.data(), new QEvent(QEvent::Type(QEvent::User + 2)));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(dispatcher->types, QList<int>() << 1001 << 1009 << 1002);
}

void tst_MivoPluginAction::whatTheMemberDoesToTheListStaysInTheEvent()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    QList<MivoArg> given = QList<MivoArg>() << 2;
    action(given);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(dispatcher->left.last().size(), 0);
    QCOMPARE(given, QList<MivoArg>() << 2);
    QCOMPARE(action.getActionData(), QList<MivoArg>() << 1);
}

void tst_MivoPluginAction::callComesFromTheEventLoopAlsoInTheDispatchersThread()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    action();
    QCOMPARE(plugin->calls, 0);
    QCOMPARE(dispatcher->received.size(), 0);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(plugin->calls, 1);
}

void tst_MivoPluginAction::callRunsInTheDispatchersThreadWhereverItWasMade()
{
    MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << 1);
    runInThread([&] { action(); });
    QTRY_COMPARE(plugin->calls, 1);
    QCOMPARE(plugin->thread, QThread::currentThread());

    QThread thread;
    thread.start();
    {
        const ThreadEnd end(thread);
        dispatcher->moveToThread(&thread);
        action();
        QVERIFY(dispatcher->delivered.tryAcquire(2, testBoundMs));
    }
    QCOMPARE(plugin->calls, 2);
    QCOMPARE(plugin->thread, &thread);
}

void tst_MivoPluginAction::eventIsDeletedAfterDelivery()
{
    const MivoArg argument(1);
    MivoPluginAction action(plugin.data(), otherAct(), QList<MivoArg>());
    {
        QList<MivoArg> given = QList<MivoArg>() << argument;
        action(given);
    }
    QCOMPARE(handlesOf(argument), 2);
    QCoreApplication::sendPostedEvents();
    dispatcher->received.clear();
    dispatcher->left.clear();
    QCOMPARE(handlesOf(argument), 1);
}

void tst_MivoPluginAction::withoutADispatcherTheCallIsLost()
{
    MivoCallActionEvent::dispatcher = nullptr;
    const MivoArg argument(1);
    {
        MivoPluginAction action(plugin.data(), act(), QList<MivoArg>() << argument);
        QTest::ignoreMessage(QtWarningMsg, "QCoreApplication::postEvent: Unexpected null receiver");
        QList<MivoArg> given;
        action(given);
        QCOMPARE(given.size(), 1);
    }
    QCOMPARE(handlesOf(argument), 1);
    QCOMPARE(plugin->calls, 0);
}

QTEST_GUILESS_MAIN(tst_MivoPluginAction)

#include "tst_mivopluginaction.moc"
