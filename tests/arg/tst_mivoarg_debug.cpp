#include "MivoArg.h"

#include "MivoAccountConnection.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoField.h"
#include "MivoGuiEventsReceiver.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoService.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

#include "DebugText.h"
#include "TestBuddies.h"
#include "TestPlugin.h"
#include "TestThreads.h"

#include <QCoreApplication>
#include <QProcess>
#include <QtTest>

#include <csignal>
#include <limits>

#include <sys/resource.h>

namespace {

const char printsAResource[] = "--print-a-resource";
const char printsAListWithAResource[] = "--print-a-list-with-a-resource";

// What is printed lives as long as the program.
// clazy:excludeall=non-pod-global-static
TestPlugin plugin;
MivoAccountConnection account("a", "A");
MivoGuiEventsReceiver receiver;
MivoPresenceType presenceType;
MivoBuddyResourceType resourceType("home", QString());

QString hex(const void* address)
{
    return "0x" + QString::number(quintptr(address), 16);
}

MivoPluginAction actionWith(const QList<MivoArg>& arguments)
{
    return MivoPluginAction(&plugin, TestPlugin::action(&TestPlugin::act), arguments);
}

MivoService service()
{
    return MivoService("n\"\n", "not printed", "p\\", actionWith(QList<MivoArg>() << 1));
}

MivoArg argList(const QList<MivoArg>& arguments)
{
    return MivoArg(arguments);
}

/**
 * What the child process does: prints a resource to its standard output on a stack of 8 MiB. Comes
 * back only if the print ends.
 */
int printResource(bool inAList)
{
    const rlimit noCore = {0, 0};
    const rlimit stack = {8 << 20, 8 << 20};
    if (setrlimit(RLIMIT_CORE, &noCore) != 0 || setrlimit(RLIMIT_STACK, &stack) != 0)
        return 2;
    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return 2;
    const MivoArg resource(MivoBuddyResource(&resourceType, MivoPresence()));
    QDebug(&output) << (inAList ? argList(QList<MivoArg>() << 1 << resource) : resource);
    return 0;
}

} // namespace

Q_DECLARE_METATYPE(MivoArg)

class tst_MivoArgDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kindPrintsItsName_data();
    void kindPrintsItsName();
    void valuePrintsItsPieces_data();
    void valuePrintsItsPieces();
    void valueOfNoKindPrintsNothing_data();
    void valueOfNoKindPrintsNothing();
    void listInAListPutsBlanksAfterLaterPieces_data();
    void listInAListPutsBlanksAfterLaterPieces();
    void resourcePrintsItselfUntilTheStackEnds_data();
    void resourcePrintsItselfUntilTheStackEnds();
};

void tst_MivoArgDebug::kindPrintsItsName_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("text");
    const char* const texts[] = {"MivoArg::None ",       "MivoArg::Char ",
                                 "MivoArg::UChar ",      "MivoArg::Int ",
                                 "MivoArg::UInt ",       "MivoArg::Int64 ",
                                 "MivoArg::UInt64 ",     "MivoArg::Float ",
                                 "MivoArg::Double ",     "MivoArg::String ",
                                 "MivoArg::StringList ", "MivoArg::Bool ",
                                 "MivoArg::Pointer ",    "MivoArg::PointerList ",
                                 "MivoArg::Plugin ",     "MivoArg::Field ",
                                 "MivoArg::FieldList ",  "MivoArg::XmlNode ",
                                 "MivoArg::Buddy ",      "MivoArg::BuddyResource ",
                                 "MivoArg::Account ",    "MivoArg::PluginAction ",
                                 "MivoArg::Presence ",   "MivoArg::GuiEventsReceiver ",
                                 "MivoArg:: ",           "MivoArg::ArgList ",
                                 "MivoArg::Service ",    "MivoArg:: ",
                                 "MivoArg::Undefined "};
    int number = 0;
    for (const char* const text : texts) {
        QTest::addRow("%d", number) << number << text;
        ++number;
    }
    QCOMPARE(number, 29);
    for (const int unknown :
         {29, 1000, std::numeric_limits<int>::max(), -1, std::numeric_limits<int>::min()})
        QTest::addRow("%d", unknown) << unknown << "MivoArg:: ";
}

void tst_MivoArgDebug::kindPrintsItsName()
{
    QFETCH(int, number);
    QFETCH(QString, text);
    compareDebugText(static_cast<MivoArg::Type>(number), text);
}

void tst_MivoArgDebug::valuePrintsItsPieces_data()
{
    QTest::addColumn<MivoArg>("arg");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const MivoArg& arg, const QString& text) {
        QTest::newRow(name) << arg << text;
    };
    row("Char, blank", ' ', "MivoArg(Char:  ) ");
    row("UChar, 0", static_cast<unsigned char>(0), "MivoArg(UChar: 0) ");
    row("UChar, 255", static_cast<unsigned char>(255), "MivoArg(UChar: 255) ");
    row("Int, least", std::numeric_limits<int>::min(), "MivoArg(Int: -2147483648) ");
    row("UInt, greatest", 4294967295u, "MivoArg(UInt: 4294967295) ");
    row("Int64, least", std::numeric_limits<long long>::min(),
        "MivoArg(Int64: -9223372036854775808) ");
    row("Int64", 5LL, "MivoArg(Int64: 5) ");
    row("UInt64, greatest", 18446744073709551615ULL, "MivoArg(UInt64: 18446744073709551615) ");
    row("Float", -0.5f, "MivoArg(Float: -0.5) ");
    row("Double", 0.1, "MivoArg(Double: 0.1) ");
    row("Bool, false", false, "MivoArg(Bool: false) ");

    const QString odd = QString("q\" n\n t\t b\\ \u00e9 \U0001f600 z") + QChar(0) + QString("!");
    row("String", odd, "MivoArg(String: \"" + odd + "\") ");
    row("StringList", QStringList() << odd << QString(),
        "MivoArg(StringList: (\"" + odd + "\", \"\") ) ");
    row("PointerList, empty", QList<void*>(), "MivoArg(PointerList: () ) ");

    MivoPlugin* const itself = &plugin;
    row("Plugin", itself, "MivoArg(Plugin: " + hex(itself) + ") ");
    row("Plugin, null", static_cast<MivoPlugin*>(nullptr), "MivoArg(Plugin: 0x0) ");
    row("Account", &account, "MivoArg(Account: " + hex(&account) + ") ");
    row("Account, null", static_cast<MivoAccountConnection*>(nullptr), "MivoArg(Account: 0x0) ");

    const QString spinBox = "MivoField(id: \"a\" type: SpinBox max: 10 min: 0 val: 5) ";
    row("Field, null", MivoField(), "MivoArg(Field: MivoField(id: \"\" type: None) ) ");
    row("FieldList, empty", QList<MivoField>(), "MivoArg(FieldList:  ) ");
    row("FieldList, two",
        QList<MivoField>() << MivoField("l", "a", 10, 0, 5, "g")
                           << MivoField("l", "a", 10, 0, 5, "g"),
        "MivoArg(FieldList: " + spinBox + spinBox + " ) ");

    MivoXmlNode node("a");
    node.setAttribute("b", QString("c"));
    node.insertData("d");
    row("XmlNode", node, "MivoArg(XmlNode: <a b=\"c\">d</a> ) ");
    row("XmlNode, null", MivoXmlNode(), "MivoArg(XmlNode: MivoXmlNode(null) ) ");

    row("Buddy, group", MivoBuddy(MivoBuddyGroup("Friends")),
        "MivoArg(Buddy: MivoBuddyGroup(\n\tvalid       :true\n\tdisplay     :\"Friends\"\n"
        "\tchild count :0\n\texpanded    :false\n)  ) ");

    row("PluginAction, three arguments", actionWith(QList<MivoArg>() << 1 << 2 << 3),
        "MivoArg(PluginAction: argument count: 3) ");
    row("PluginAction, invalid", MivoPluginAction(), "MivoArg(PluginAction: argument count: 0) ");

    presenceType.id = "away";
    presenceType.display = "Away";
    presenceType.priority = 3;
    row("Presence", MivoPresence(&presenceType, "not printed"),
        "MivoArg(Presence: MivoPresence(\n\tid       : \"away\"\n\tdisplay  : \"Away\"\n"
        "\tpriority : 3\n) ) ");
    row("Presence, invalid", MivoPresence(), "MivoArg(Presence: MivoPresence( invalid ) ) ");

    row("GuiEventsReceiver", &receiver, "MivoArg() ");
    row("VideoClip", MivoVideoClip(), "MivoArg() ");
    row("Service", service(), "MivoArg(Service: name=\"n\"\n\" protocol=\"p\\\" ) ");
    row("Service, empty", MivoService(), "MivoArg(Service: name=\"\" protocol=\"\" ) ");
    row("ServiceList", QList<MivoService>() << service(), "MivoArg() ");
}

void tst_MivoArgDebug::valuePrintsItsPieces()
{
    QFETCH(MivoArg, arg);
    QFETCH(QString, text);
    compareDebugText(arg, text);
}

void tst_MivoArgDebug::valueOfNoKindPrintsNothing_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {28, 29, 1000, -1})
        QTest::addRow("%d", number) << number;
}

void tst_MivoArgDebug::valueOfNoKindPrintsNothing()
{
    QFETCH(int, number);
    const MivoArg arg(1);
    MivoArgPrivate::get(arg)->type = static_cast<MivoArg::Type>(number);
    compareDebugText(arg, "MivoArg() ");
    MivoArgPrivate::get(arg)->type = MivoArg::Int;
}

void tst_MivoArgDebug::listInAListPutsBlanksAfterLaterPieces_data()
{
    QTest::addColumn<MivoArg>("arg");
    QTest::addColumn<QString>("text");
    const QList<MivoArg> none;
    QTest::newRow("empty in one") << argList(QList<MivoArg>() << argList(none))
                                  << "MivoArg(ArgList: (MivoArg(ArgList: () ) )  ) ";
    QTest::newRow("list between numbers")
        << argList(QList<MivoArg>() << 1 << argList(QList<MivoArg>() << 2) << 3)
        << "MivoArg(ArgList: (MivoArg(Int: 1) ,  MivoArg(ArgList: (MivoArg(Int: 2) )  ) ,  "
           "MivoArg(Int: 3) )  ) ";
    QTest::newRow("what prints nothing")
        << argList(QList<MivoArg>() << MivoArg() << MivoVideoClip() << QList<MivoService>())
        << "MivoArg(ArgList: (MivoArg(None) ,  MivoArg() ,  MivoArg() )  ) ";
    QTest::newRow("three deep")
        << argList(QList<MivoArg>() << argList(QList<MivoArg>() << argList(none)))
        << "MivoArg(ArgList: (MivoArg(ArgList: (MivoArg(ArgList: () ) )  ) )  ) ";
}

void tst_MivoArgDebug::listInAListPutsBlanksAfterLaterPieces()
{
    QFETCH(MivoArg, arg);
    QFETCH(QString, text);
    compareDebugText(arg, text);
}

void tst_MivoArgDebug::resourcePrintsItselfUntilTheStackEnds_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArray>("begin");
    QTest::newRow("alone") << printsAResource << QByteArray("MivoArg(BuddyResource:");
    QTest::newRow("in a list") << printsAListWithAResource
                               << QByteArray("MivoArg(ArgList: (MivoArg(Int: 1) ,  "
                                             "MivoArg(BuddyResource:");
}

void tst_MivoArgDebug::resourcePrintsItselfUntilTheStackEnds()
{
    QFETCH(QString, option);
    QFETCH(QByteArray, begin);
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), QStringList() << option);
    QVERIFY2(child.waitForFinished(testBoundMs), qPrintable(child.errorString()));

    // The address sanitizer reports the end of the stack and exits with a status of its own.
    const QByteArray report = child.readAllStandardError();
    if (child.exitStatus() == QProcess::NormalExit) {
        QVERIFY2(report.contains("stack-overflow"), report.constData());
        QVERIFY(child.exitCode() != 0);
    } else {
        QCOMPARE(child.exitCode(), SIGSEGV);
    }
    const QByteArray printed = child.readAllStandardOutput();
    QVERIFY2(printed.startsWith(begin), printed.left(200).constData());
    const QByteArray again = "MivoArg(BuddyResource:";
    const QByteArray repeated = printed.mid(begin.size());
    QCOMPARE(repeated.left(1000 * again.size()), again.repeated(1000));
}

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], printsAResource) == 0)
        return printResource(false);
    if (argc == 2 && qstrcmp(argv[1], printsAListWithAResource) == 0)
        return printResource(true);
    QCoreApplication application(argc, argv);
    tst_MivoArgDebug test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mivoarg_debug.moc"
