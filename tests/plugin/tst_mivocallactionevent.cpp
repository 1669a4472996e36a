#include "MivoCallActionEvent.h"

#include "TestPlugin.h"

#include <QtTest>

#include <type_traits>

class tst_MivoCallActionEvent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dispatcherIsNullUntilTheHostSetsIt();
    void typeIs1009();
    void holdsThePluginTheMemberAndTheArguments();
    void fieldsStandInTheAgreedOrder();
    void endReleasesTheArgumentsAndNothingElse();
};

void tst_MivoCallActionEvent::dispatcherIsNullUntilTheHostSetsIt()
{
    static_assert(std::is_same<decltype(MivoCallActionEvent::dispatcher), QObject*>::value, "");
    QVERIFY(!MivoCallActionEvent::dispatcher);
    MivoCallActionEvent::dispatcher = this;
    QCOMPARE(MivoCallActionEvent::dispatcher, this);
    MivoCallActionEvent::dispatcher = nullptr;
}

void tst_MivoCallActionEvent::typeIs1009()
{
    QCOMPARE(int(MivoCallActionEvent::EventType), 1009);
    const MivoCallActionEvent event(nullptr, nullptr, QList<MivoArg>());
    QCOMPARE(int(event.type()), 1009);
}

void tst_MivoCallActionEvent::holdsThePluginTheMemberAndTheArguments()
{
    TestPlugin plugin;
    const QList<MivoArg> arguments = QList<MivoArg>() << 1 << QString("a");
    const MivoCallActionEvent event(&plugin, TestPlugin::action(&TestPlugin::act), arguments);
    QCOMPARE(event.plugin, static_cast<MivoPlugin*>(&plugin));
    QVERIFY(event.member == TestPlugin::action(&TestPlugin::act));
    QVERIFY(event.arguments.isSharedWith(arguments));
    QVERIFY(!event.spontaneous());
}

void tst_MivoCallActionEvent::fieldsStandInTheAgreedOrder()
{
    struct Fields : QEvent
    {
        MivoPlugin* plugin;
        MivoPluginAction::Member member;
        QList<MivoArg> arguments;
    };
    static_assert(sizeof(MivoCallActionEvent) == sizeof(Fields), "");
    static_assert(std::is_base_of<QEvent, MivoCallActionEvent>::value, "");

    const MivoCallActionEvent event(nullptr, nullptr, QList<MivoArg>());
    const auto offset = [&event](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&event);
    };
    QCOMPARE(offset(&event.plugin), qptrdiff(sizeof(QEvent)));
    QCOMPARE(offset(&event.member), qptrdiff(sizeof(QEvent) + sizeof(void*)));
    QCOMPARE(offset(&event.arguments),
             qptrdiff(sizeof(QEvent) + sizeof(void*) + sizeof(MivoPluginAction::Member)));
}

void tst_MivoCallActionEvent::endReleasesTheArgumentsAndNothingElse()
{
    QPointer<TestPlugin> plugin(new TestPlugin);
    const MivoArg argument(1);
    QEvent* const event = new MivoCallActionEvent(plugin, TestPlugin::action(&TestPlugin::act),
                                                  QList<MivoArg>() << argument);
    QCOMPARE(handlesOf(argument), 2);
    delete event;
    QCOMPARE(handlesOf(argument), 1);
    QVERIFY(plugin);
    QCOMPARE(plugin->calls, 0);
    delete plugin;
}

QTEST_GUILESS_MAIN(tst_MivoCallActionEvent)

#include "tst_mivocallactionevent.moc"
