#include "DebugText.h"

#include <MivoPlugin.h>
#include <MivoService.h>

#include <QtTest>

#include <type_traits>
#include <utility>

namespace {

class TestPlugin : public MivoPlugin
{
public:
    void run(QList<MivoArg>&) { }
};

MivoPluginAction actionOf(TestPlugin& plugin)
{
    return MivoPluginAction(&plugin, static_cast<MivoPluginAction::Member>(&TestPlugin::run),
                            QList<MivoArg>() << MivoArg(1));
}

} // namespace

class MivoServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultServiceIsEmptyAndNotValid();
    void theFourValuesAreKept();
    void theNameAloneMakesAServiceValid();
    void nameAndProtocolAloneIdentifyAService();
    void copiesAreIndependent();
    void aMovedFromServiceIsEmpty();
    void itIsAPlainValue();
    void fieldsStandInTheAgreedOrder();
    void thePrintShowsNameAndProtocolAndOneBlank();
};

void MivoServiceTest::aDefaultServiceIsEmptyAndNotValid()
{
    const MivoService service;
    QVERIFY(!service.isValid());
    QVERIFY(service.getName().isEmpty());
    QVERIFY(service.getDisplayName().isEmpty());
    QVERIFY(service.getProtocol().isEmpty());
    QVERIFY(!service.getAction().isValid());
}

void MivoServiceTest::theFourValuesAreKept()
{
    TestPlugin plugin;
    const MivoPluginAction action = actionOf(plugin);
    const MivoService service("n", "d", "p", action);
    QCOMPARE(service.getName(), QString("n"));
    QCOMPARE(service.getDisplayName(), QString("d"));
    QCOMPARE(service.getProtocol(), QString("p"));
    QVERIFY(service.getAction() == action);
}

void MivoServiceTest::theNameAloneMakesAServiceValid()
{
    TestPlugin plugin;
    QVERIFY(!MivoService("", "d", "p", actionOf(plugin)).isValid());
    QVERIFY(!MivoService(QString(), "d", "p", actionOf(plugin)).isValid());
    QVERIFY(MivoService("n", "", "", MivoPluginAction()).isValid());
    QVERIFY(MivoService(" ", "", "", MivoPluginAction()).isValid());
}

void MivoServiceTest::nameAndProtocolAloneIdentifyAService()
{
    TestPlugin plugin;
    const MivoService service("n", "d", "p", actionOf(plugin));
    QVERIFY(service == MivoService("n", "other", "p", MivoPluginAction()));
    QVERIFY(!(service != MivoService("n", "other", "p", MivoPluginAction())));
    QVERIFY(!(service == MivoService("n", "d", "q", actionOf(plugin))));
    QVERIFY(service != MivoService("n", "d", "q", actionOf(plugin)));
    QVERIFY(service != MivoService("m", "d", "p", actionOf(plugin)));
    QVERIFY(service != MivoService("p", "d", "n", actionOf(plugin)));
    QVERIFY(MivoService() == MivoService());
}

void MivoServiceTest::copiesAreIndependent()
{
    const MivoService service("n", "d", "p", MivoPluginAction());
    MivoService copy = service;
    QCOMPARE(copy.getDisplayName(), QString("d"));
    copy = MivoService("m", "e", "q", MivoPluginAction());
    QCOMPARE(copy.getName(), QString("m"));
    QCOMPARE(service.getName(), QString("n"));
}

void MivoServiceTest::aMovedFromServiceIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoService>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoService>::value, "");
    TestPlugin plugin;
    const MivoPluginAction action = actionOf(plugin);
    const auto isEmpty = [](const MivoService& service) {
        return service.getName().isNull() && service.getDisplayName().isNull()
            && service.getProtocol().isNull() && service.getAction() == MivoPluginAction();
    };
    const auto isWhole = [&action](const MivoService& service) {
        return service.getName() == "n" && service.getDisplayName() == "d"
            && service.getProtocol() == "p" && service.getAction() == action;
    };
    MivoService source("n", "d", "p", action);
    MivoService target(std::move(source));
    QVERIFY(isEmpty(source)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(target));
    MivoService assigned("a", "b", "c", MivoPluginAction());
    assigned = std::move(target);
    QVERIFY(isEmpty(target)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(assigned));
    MivoService& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(isWhole(assigned));
}

void MivoServiceTest::itIsAPlainValue()
{
    static_assert(!std::is_polymorphic<MivoService>::value, "");
    static_assert(sizeof(MivoService) == 3 * sizeof(QString) + sizeof(MivoPluginAction), "");
    // The sources of the copies may change.
    QString name("n");
    MivoService service(name, name, name, MivoPluginAction());
    name.append("more");
    QCOMPARE(service.getName(), QString("n"));
    QCOMPARE(service.getDisplayName(), QString("n"));
    QCOMPARE(service.getProtocol(), QString("n"));
}

void MivoServiceTest::fieldsStandInTheAgreedOrder()
{
    TestPlugin plugin;
    const MivoPluginAction action = actionOf(plugin);
    const MivoService service("n", "d", "p", action);
    struct Fields
    {
        QString name;
        QString displayName;
        QString protocol;
        MivoPluginAction action;
    };
    static_assert(sizeof(MivoService) == sizeof(Fields), "");
    const auto& fields = reinterpret_cast<const Fields&>(service);
    QCOMPARE(fields.name, QString("n"));
    QCOMPARE(fields.displayName, QString("d"));
    QCOMPARE(fields.protocol, QString("p"));
    QVERIFY(fields.action == action);
}

void MivoServiceTest::thePrintShowsNameAndProtocolAndOneBlank()
{
    TestPlugin plugin;
    compareDebugText(MivoService("n", "not printed", "p", actionOf(plugin)),
                     "name=\"n\" protocol=\"p\" ");
    compareDebugText(MivoService(), "name=\"\" protocol=\"\" ");
    const QString odd = QString("q\" n\n b\\ \u00e9 z") + QChar(0) + QString("!");
    compareDebugText(MivoService(odd, "d", odd, MivoPluginAction()),
                     "name=\"" + odd + "\" protocol=\"" + odd + "\" ");
}

QTEST_GUILESS_MAIN(MivoServiceTest)
#include "tst_mivoservice.moc"
