#include "MivoHostCommand.h"

namespace {

const QString echo = ECHO_PLUGIN;
const QString fixtures = QString(FIXTURES) + '/';

} // namespace

/** mivo-host as its user sees it: exit status, standard output and standard error. */
class MivoHostCommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callPrintsTheAnswer();
    void callFailsWithOneSentence_data();
    void callFailsWithOneSentence();
    void aFileThatIsNoPluginIsRefused_data();
    void aFileThatIsNoPluginIsRefused();
    void wrongUsageShowsTheUsageOfTheCommand_data();
    void wrongUsageShowsTheUsageOfTheCommand();
    void helpIsShownOnRequest_data();
    void helpIsShownOnRequest();
    void actionIsDelivered();
    void pluginsShowsTheGoodOnesAndReportsTheOthers();
    void demoRunsThroughAllSteps();
};

void MivoHostCommandTest::callPrintsTheAnswer()
{
    const Outcome outcome = mivoHost(
        {"call", echo, "echo", "list:[int:1,string:a]", QString::fromUtf8("string:h\xc3\xa9llo"),
         "uint64:18446744073709551615", "stringlist:a,b", "bool:true", "double:0.1"});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out,
             QString::fromUtf8("MivoArg(ArgList: (MivoArg(Int: 1) ,  MivoArg(String: \"a\") )  )\n"
                               "MivoArg(String: \"h\xc3\xa9llo\")\n"
                               "MivoArg(UInt64: 18446744073709551615)\n"
                               "MivoArg(StringList: (\"a\", \"b\") )\n"
                               "MivoArg(Bool: true)\n"
                               "MivoArg(Double: 0.1)\n"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::callFailsWithOneSentence_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("the slot throws")
        << QStringList({"fail", "string:boom"}) << "echo: fail failed: boom";
    QTest::newRow("a wrong kind")
        << QStringList({"sum", "string:x"})
        << "echo: sum failed: MivoArg: cannot convert MivoArg::String to MivoArg::Int "
           "(argument 1)";
    QTest::newRow("an overflow") << QStringList({"sum", "int:2147483647", "int:1"})
                                 << "echo: sum failed: the sum does not fit an Int";
    QTest::newRow("no such slot") << QStringList({"nosuch"})
                                  << "echo has no slot \"nosuch\"; expected one of: echo, sum, "
                                     "takeLong, fail, startTimer, firedTimers, "
                                     "thread, recorded";
}

void MivoHostCommandTest::callFailsWithOneSentence()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = mivoHost(QStringList({"call", echo}) + arguments);
    QCOMPARE(outcome.error, "mivo-host call: " + sentence + '\n');
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

void MivoHostCommandTest::aFileThatIsNoPluginIsRefused_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("found");
    QTest::newRow("missing") << "/no/such/file.so"
                             << "no such file";
    QTest::newRow("text") << SAMPLE_EXPORT << "a file that is no shared object";
    QTest::newRow("no plug-in") << fixtures + "noplugin.so"
                                << "a shared object that is no Qt plug-in";
    QTest::newRow("unstamped") << fixtures + "unstamped.so"
                               << "a plug-in without a stamp";
    QTest::newRow("interface") << fixtures + "otherinterface.so"
                               << "a plug-in for interface 99";
    QTest::newRow("symbol") << fixtures + "undefinedsymbol.so"
                            << "a plug-in that cannot be loaded";
}

void MivoHostCommandTest::aFileThatIsNoPluginIsRefused()
{
    QFETCH(QString, file);
    QFETCH(QString, found);
    const Outcome outcome = mivoHost({"call", file, "echo"});
    QVERIFY2(outcome.error.startsWith("mivo-host call: " + file + ": found " + found),
             qPrintable(outcome.error));
    QVERIFY2(outcome.error.contains("; needed: a plug-in made by mivo_add_plugin()"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.error.count('\n'), 1);
    QCOMPARE(outcome.status, 1);
}

void MivoHostCommandTest::wrongUsageShowsTheUsageOfTheCommand_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("begin");
    QTest::newRow("no command")
        << QStringList()
        << "mivo-host: found no command; expected one\nusage: mivo-host COMMAND [ARGUMENT...]\n";
    QTest::newRow("no such command") << QStringList("dance")
                                     << "mivo-host: found the command \"dance\"; expected one of "
                                        "these\nusage: mivo-host COMMAND [ARGUMENT...]\n";
    QTest::newRow("plugins") << QStringList("plugins")
                             << "mivo-host plugins: found 0 arguments; expected at least one "
                                "FILE\nusage: mivo-host plugins FILE...\n";
    QTest::newRow("call") << QStringList({"call", echo})
                          << "mivo-host call: found 1 arguments; expected FILE and SLOT\nusage: "
                             "mivo-host call FILE SLOT [KIND:VALUE...]\n";
    QTest::newRow("call with a wrong value")
        << QStringList({"call", echo, "echo", "int:x"})
        << "mivo-host call: int:x: position 5: found \"x\"; expected a whole number from "
           "-2147483648 to 2147483647\n"
           "usage: mivo-host call FILE SLOT [KIND:VALUE...]\n";
    QTest::newRow("a wrong value before a wrong file")
        << QStringList({"call", "/no/such/file", "echo", "int:x"})
        << "mivo-host call: int:x: position 5: ";
    QTest::newRow("action") << QStringList("action")
                            << "mivo-host action: found 0 arguments; expected FILE and "
                               "SLOT\nusage: mivo-host action FILE SLOT";
    QTest::newRow("form") << QStringList("form")
                          << "mivo-host form: found 0 arguments; expected FILE\nusage: mivo-host "
                             "form FILE [--load in.xml] [--save out.xml] [--set ID=VALUE...]";
    QTest::newRow("roster") << QStringList("roster")
                            << "mivo-host roster: found 0 arguments; expected FILE and at most one "
                               "EXPORT\nusage: mivo-host roster FILE [EXPORT]\n";
    QTest::newRow("roster with too many files")
        << QStringList({"roster", "a", "b", "c"})
        << "mivo-host roster: found 3 arguments; expected FILE and at most one EXPORT\n";
    QTest::newRow("demo") << QStringList({"demo", "a", "b"})
                          << "mivo-host demo: found 2 arguments; expected";
    QTest::newRow("frames") << QStringList({"frames", "--speed", "1"})
                            << "mivo-host frames: found \"--speed\"; expected one of --size, "
                               "--ratio, --seconds, --png\nusage: mivo-host frames [--size WxH] ";
}

void MivoHostCommandTest::wrongUsageShowsTheUsageOfTheCommand()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, begin);
    const Outcome outcome = mivoHost(arguments);
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 2);
}

void MivoHostCommandTest::helpIsShownOnRequest_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("begin");
    QTest::newRow("itself") << QStringList("--help") << "usage: mivo-host COMMAND [ARGUMENT...]\n";
    for (const char* command : {"plugins", "call", "action", "form", "frames", "roster", "demo"}) {
        QTest::newRow(command) << QStringList({command, "--help"})
                               << QString("usage: mivo-host %1").arg(command);
    }
}

void MivoHostCommandTest::helpIsShownOnRequest()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, begin);
    const Outcome outcome = mivoHost(arguments);
    QVERIFY2(outcome.out.startsWith(begin), qPrintable(outcome.out));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::actionIsDelivered()
{
    Outcome outcome = mivoHost({"action", echo, "record", "int:1"});
    QCOMPARE(outcome.out, QString("[main      ] posted\n[dispatcher] delivered to echo\n"));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);

    outcome = mivoHost({"action", echo, "failLater"});
    QCOMPARE(outcome.error,
             QString("mivo-host: echo: an action failed: failLater was asked to fail\n"
                     "mivo-host action: the action failed\n"));
    QCOMPARE(outcome.status, 1);
}

void MivoHostCommandTest::pluginsShowsTheGoodOnesAndReportsTheOthers()
{
    const Outcome outcome = mivoHost({"plugins", fixtures + "unstamped.so", echo, echo});
    QVERIFY2(outcome.out.startsWith(echo + ": echo 0.1.0\n  calls:   echo, sum,"),
             qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("\n  actions: record, failLater\n"), qPrintable(outcome.out));
    QVERIFY2(outcome.error.contains("unstamped.so: found a plug-in without a stamp;"),
             qPrintable(outcome.error));
    QVERIFY2(outcome.error.contains("echo.so: found a plug-in that is loaded already;"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.status, 1);
}

void MivoHostCommandTest::demoRunsThroughAllSteps()
{
    const Outcome outcome = mivoHost({"demo"});
    int from = 0;
    for (const char* step : {
             "[main      ] loaded the plug-in console from ",
             "[main      ] loaded the plug-in chat from ",
             "[main      ] loaded the plug-in history from ",
             "[main      ] started a thread for each plug-in and one for the dispatcher\n",
             "[console   ] console has asked chat for the contact: MivoArg(Buddy: "
             "MivoBuddyContact( valid :true display :\"ann\" id :\"ann@example.org\" ) )\n",
             "[console   ] console has built the form: MivoField(id: \"text\" type: LineEdit text: "
             "\"hello\" maxtextlength: 80) MivoField(id: \"send\" type: ) MivoField(id: \"wrong\" "
             "type: )\n",
             "[console   ] console clicks the button \"send\": its action is posted\n",
             "[dispatcher] chat reads the buddy \"ann\" with toBuddy() and the text \"hello\" with "
             "toString()\n",
             "[history   ] chat has handed over a line for the history: ann@example.org: hello\n",
             "[console   ] console shows: sent to ann as number 1\n",
             "[dispatcher] the action of chat has been delivered\n",
             "[main      ] asks history for its count: toInt() of the answer is 1\n",
             "[main      ] toString() of the same answer is refused: MivoArg: cannot convert "
             "MivoArg::Int to MivoArg::String\n",
             "[console   ] console clicks the button \"wrong\": its action is posted\n",
             "[dispatcher] chat: an action failed: MivoArg: cannot convert MivoArg::String to "
             "MivoArg::Buddy\n",
             "[console   ] console shows: the timer \"reminder\" has fired\n",
             "[main      ] shut down: all threads have ended\n",
         }) {
        const int at = int(outcome.out.indexOf(step, from));
        QVERIFY2(at >= 0,
                 qPrintable(QString("missing after %1: %2\n%3").arg(from).arg(step, outcome.out)));
        from = at;
    }
    QVERIFY2(!outcome.out.contains(" \n"), qPrintable(outcome.out));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

QTEST_GUILESS_MAIN(MivoHostCommandTest)
#include "tst_mivohost_command.moc"
