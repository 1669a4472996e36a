#include "MivoHostCommand.h"

#include <MivoGlobal.h>

namespace {

const QString echo = ECHO_PLUGIN;
const QString fixtures = QString(FIXTURES) + '/';
const QString oddAnswers = fixtures + "oddanswers.so";
const QString settings = SETTINGS_PLUGIN;

/** Runs a line of the shell, in which $1 stands for the command and $2 for @p argument. */
Outcome inShell(const QString& line, const QString& argument)
{
    return outcomeOf("bash", {"-c", line, "bash", MIVO_HOST, argument});
}

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
    void optionsMayStandAnywhere_data();
    void optionsMayStandAnywhere();
    void theNearestOfTheKnownIsNamed_data();
    void theNearestOfTheKnownIsNamed();
    void theVersionIsShown();
    void helpIsShownOnRequest_data();
    void helpIsShownOnRequest();
    void actionIsDelivered();
    void whatIsLoggedIsNoFailure();
    void aSlotOfTheOtherShapeIsSaidToBeOne();
    void theSenderOfACallIsAPlugin();
    void timersAndActionsAreServedAfterACall();
    void aWaitThatIsNoNumberIsRefused_data();
    void aWaitThatIsNoNumberIsRefused();
    void deepValuesAreRefusedAndDeepAnswersCutOff();
    void anAnswerWithoutAPrinterIsShown();
    void nothingUnfitReachesTheTerminal_data();
    void nothingUnfitReachesTheTerminal();
    void outputThatCannotBeWrittenIsAnError_data();
    void outputThatCannotBeWrittenIsAnError();
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
                                "FILE\nusage: mivo-host plugins FILE... [--json]\n";
    QTest::newRow("call") << QStringList({"call", echo})
                          << "mivo-host call: found 1 arguments; expected FILE and SLOT\nusage: "
                             "mivo-host call FILE SLOT [KIND:VALUE...] [--with FILE...]";
    QTest::newRow("call with a wrong value")
        << QStringList({"call", echo, "echo", "int:x"})
        << "mivo-host call: int:x: position 5: found \"x\"; expected a whole number from "
           "-2147483648 to 2147483647\n"
           "usage: mivo-host call FILE SLOT [KIND:VALUE...] [--with FILE...]";
    QTest::newRow("a wrong value before a wrong file")
        << QStringList({"call", "/no/such/file", "echo", "int:x"})
        << "mivo-host call: int:x: position 5: ";
    QTest::newRow("action") << QStringList("action")
                            << "mivo-host action: found 0 arguments; expected FILE and "
                               "SLOT\nusage: mivo-host action FILE SLOT";
    QTest::newRow("form") << QStringList("form")
                          << "mivo-host form: found 0 arguments; expected FILE\nusage: mivo-host "
                             "form FILE [--load in.xml] [--save out.xml] [--with-secrets] "
                             "[--set ID=VALUE...]";
    QTest::newRow("roster") << QStringList("roster")
                            << "mivo-host roster: found 0 arguments; expected FILE and at most one "
                               "EXPORT\nusage: mivo-host roster FILE [EXPORT] [--json]\n";
    QTest::newRow("roster with too many files")
        << QStringList({"roster", "a", "b", "c"})
        << "mivo-host roster: found 3 arguments; expected FILE and at most one EXPORT\n";
    QTest::newRow("demo") << QStringList({"demo", "a", "b"})
                          << "mivo-host demo: found 2 arguments; expected";
    QTest::newRow("frames") << QStringList({"frames", "--speed", "1"})
                            << "mivo-host frames: found the option --speed; expected one of "
                               "--size, --ratio, --seconds, --png\n"
                               "usage: mivo-host frames [--size WxH] ";
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

void MivoHostCommandTest::optionsMayStandAnywhere_data()
{
    QTest::addColumn<QStringList>("arguments");
    const QString history = fixtures + "oddform.so";
    QTest::newRow("after") << QStringList(
        {"call", echo, "echo", "int:1", "int:2", "--with", oddAnswers, history});
    QTest::newRow("before") << QStringList(
        {"call", "--with", oddAnswers, "--with", history, echo, "echo", "int:1", "int:2"});
    QTest::newRow("between") << QStringList(
        {"call", echo, "--with", history, "echo", "--with=" + oddAnswers, "int:1", "int:2"});
    QTest::newRow("with =") << QStringList({"call", "--with=" + oddAnswers, echo, "echo", "int:1",
                                            "--with=" + history, "--", "int:2"});
    QTest::newRow("after --") << QStringList({"call", "--", echo, "echo", "int:1", "int:2"});
}

void MivoHostCommandTest::optionsMayStandAnywhere()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = mivoHost(arguments);
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out, QString("MivoArg(Int: 1)\nMivoArg(Int: 2)\n"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::theNearestOfTheKnownIsNamed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("command") << QStringList("cal")
                             << "mivo-host: found the command \"cal\"; expected one of these; the "
                                "nearest is call\n";
    QTest::newRow("option") << QStringList({"call", "--wiht", "x"})
                            << "mivo-host call: found the option --wiht; expected one of --with, "
                               "--wait, --json; the nearest is --with\n";
    QTest::newRow("option with a value") << QStringList({"action", "--Wit=x=y"})
                                         << "mivo-host action: found the option --Wit; expected "
                                            "--with; the nearest is --with\n";
    QTest::newRow("nothing is near") << QStringList({"call", "--frobnicate"})
                                     << "mivo-host call: found the option --frobnicate; expected "
                                        "one of --with, --wait, --json\n";
    QTest::newRow("a command without options")
        << QStringList({"demo", "--fast"})
        << "mivo-host demo: found the option --fast; expected no options\n";
}

void MivoHostCommandTest::theNearestOfTheKnownIsNamed()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = mivoHost(arguments);
    QCOMPARE(outcome.error.left(sentence.size()), sentence);
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 2);
}

void MivoHostCommandTest::theVersionIsShown()
{
    const Outcome outcome = mivoHost({"--version"});
    QCOMPARE(outcome.out, QString("mivo-host " MIVO_VERSION_STR "\n"));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::helpIsShownOnRequest_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("begin");
    QTest::newRow("itself") << QStringList("--help") << "usage: mivo-host COMMAND [ARGUMENT...]\n";
    QTest::newRow("short") << QStringList("-h") << "usage: mivo-host COMMAND [ARGUMENT...]\n";
    QTest::newRow("before the command")
        << QStringList({"--help", "call"}) << "usage: mivo-host call FILE SLOT";
    QTest::newRow("short, before the command")
        << QStringList({"-h", "form"}) << "usage: mivo-host form FILE";
    QTest::newRow("among arguments")
        << QStringList({"call", "/no/such", "-h", "x"}) << "usage: mivo-host call FILE SLOT";
    for (const char* command :
         {"plugins", "call", "action", "form", "frames", "roster", "session", "demo"}) {
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

void MivoHostCommandTest::whatIsLoggedIsNoFailure()
{
    const Outcome outcome = mivoHost({"action", oddAnswers, "logAction"});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("[dispatcher] log "), qPrintable(outcome.out));
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::aSlotOfTheOtherShapeIsSaidToBeOne()
{
    Outcome outcome = mivoHost({"action", echo, "sum", "int:1"});
    QCOMPARE(outcome.error, QString("mivo-host action: echo: sum is a call: use call\n"));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
    outcome = mivoHost({"call", echo, "record", "int:1"});
    QCOMPARE(outcome.error, QString("mivo-host call: echo: record is an action: use action\n"));
    QCOMPARE(outcome.status, 1);
}

void MivoHostCommandTest::theSenderOfACallIsAPlugin()
{
    const Outcome outcome = mivoHost({"call", oddAnswers, "sender"});
    QCOMPARE(outcome.out, QString("MivoArg(String: \"mivo-host\")\n"));
    QCOMPARE(outcome.error, QString());
}

void MivoHostCommandTest::timersAndActionsAreServedAfterACall()
{
    Outcome outcome
        = mivoHost({"call", echo, "startTimer", "int:10", "string:tick", "--wait", "1500"});
    QCOMPARE(outcome.out,
             QString("[echo      ] the timer \"tick\" has fired\n"
                     "[main      ] waited 1500 ms: 1 timer and 0 actions came\n"));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);

    outcome = mivoHost({"call", oddAnswers, "post", "--with", echo, "--wait=1"});
    QCOMPARE(outcome.out,
             QString("[dispatcher] delivered to echo\n"
                     "[main      ] waited 1 ms: 0 timers and 1 action came\n"));
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);

    outcome = mivoHost({"call", echo, "echo", "int:1", "--wait", "1"});
    QCOMPARE(outcome.out, QString("MivoArg(Int: 1)\n[main      ] waited 1 ms: nothing came\n"));
}

void MivoHostCommandTest::aWaitThatIsNoNumberIsRefused_data()
{
    QTest::addColumn<QString>("wait");
    for (const char* wait : {"0", "-1", "+1", "x", "1.5", " 1", "1\n", "86400001", "9999999999999"})
        QTest::newRow(wait) << QString(wait);
}

void MivoHostCommandTest::aWaitThatIsNoNumberIsRefused()
{
    QFETCH(QString, wait);
    const Outcome outcome = mivoHost({"call", echo, "echo", "--wait", wait});
    QVERIFY2(outcome.error.startsWith("mivo-host call: --wait: found \""),
             qPrintable(outcome.error));
    QVERIFY2(outcome.error.contains("; expected a whole number of milliseconds from 1 to "
                                    "86400000\n"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 2);
}

void MivoHostCommandTest::deepValuesAreRefusedAndDeepAnswersCutOff()
{
    const auto nested = [](int levels) {
        return QString("list:[").repeated(levels) + QString("]").repeated(levels);
    };
    QCOMPARE(mivoHost({"call", echo, "echo", nested(256)}).status, 0);
    for (const int levels : {257, 15000}) {
        const Outcome outcome = mivoHost({"call", echo, "echo", nested(levels)});
        QVERIFY2(outcome.error.contains("position 1542: found a list at level 257; expected at "
                                        "most 256 levels\n"),
                 qPrintable(outcome.error));
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.status, 2);
    }
    const Outcome outcome = mivoHost({"call", oddAnswers, "deep", "int:15000"});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out.count("ArgList: ("), 256);
    QVERIFY(outcome.out.contains("(MivoArg(ArgList: ...) )"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::anAnswerWithoutAPrinterIsShown()
{
    const Outcome outcome = mivoHost({"call", oddAnswers, "resource"});
    QVERIFY2(outcome.out.startsWith("MivoArg(BuddyResource: name=\"desk\\u001b[31m\\u000a"),
             qPrintable(outcome.out));
    QCOMPARE(outcome.out.count('\n'), 1);
    QCOMPARE(outcome.status, 0);
}

void MivoHostCommandTest::nothingUnfitReachesTheTerminal_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("lines"); // on both streams
    QTest::newRow("plugins") << QStringList({"plugins", oddAnswers}) << 4;
    QTest::newRow("call") << QStringList({"call", oddAnswers, "say"}) << 3;
    QTest::newRow("call and wait") << QStringList({"call", oddAnswers, "say", "--wait", "1"}) << 4;
    QTest::newRow("failed call") << QStringList({"call", oddAnswers, "fail"}) << 1;
    QTest::newRow("action") << QStringList({"action", oddAnswers, "logAction"}) << 3;
    QTest::newRow("failed action") << QStringList({"action", oddAnswers, "failAction"}) << 4;
    QTest::newRow("form") << QStringList({"form", oddAnswers}) << 4;
    QTest::newRow("field") << QStringList({"form", oddAnswers, "--set", "a\x1b=b"}) << 1;
    QTest::newRow("roster") << QStringList({"roster", oddAnswers}) << 1;
    QTest::newRow("file") << QStringList({"plugins", "/no/\x1b[31m\n"}) << 2;
    QTest::newRow("slot") << QStringList({"call", echo, "\x1b\n"}) << 1;
}

void MivoHostCommandTest::nothingUnfitReachesTheTerminal()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, lines);
    const Outcome outcome = mivoHost(arguments);
    const QString all = outcome.out + outcome.error;
    QCOMPARE(all.count('\n'), lines);
    for (const QChar character : all)
        QVERIFY2(character == '\n' || character.category() != QChar::Other_Control,
                 qPrintable(all));
    QVERIFY2(all.contains("\\u001b"), qPrintable(all));
}

void MivoHostCommandTest::outputThatCannotBeWrittenIsAnError_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("error");
    const QString full("standard output cannot be written: No space left on device\n");
    const QString pipe("standard output cannot be written: Broken pipe\n");
    const QString closed("standard output cannot be written: Bad file descriptor\n");
    QTest::newRow("plugins") << "\"$1\" plugins \"$2\" >/dev/full" << echo
                             << "mivo-host plugins: " + full;
    QTest::newRow("call") << "\"$1\" call \"$2\" thread >/dev/full" << echo
                          << "mivo-host call: " + full;
    QTest::newRow("action") << "\"$1\" action \"$2\" record >/dev/full" << echo
                            << "mivo-host action: " + full;
    QTest::newRow("form") << "\"$1\" form \"$2\" >/dev/full" << settings
                          << "mivo-host form: " + full;
    QTest::newRow("roster") << "\"$1\" roster \"$2\" >/dev/full" << QString(ROSTERS_FIXTURE)
                            << "mivo-host roster: " + full;
    QTest::newRow("demo") << "\"$1\" demo >/dev/full" << QString() << "mivo-host demo: " + full;
    QTest::newRow("frames") << "\"$1\" frames --seconds 600 >/dev/full" << QString()
                            << "mivo-host frames: " + full;
    QTest::newRow("help") << "\"$1\" --help >/dev/full" << QString() << "mivo-host: " + full;
    QTest::newRow("help of a command")
        << "\"$1\" call -h >/dev/full" << QString() << "mivo-host: " + full;
    QTest::newRow("version") << "\"$1\" --version >/dev/full" << QString() << "mivo-host: " + full;
    QTest::newRow("a pipe that nobody reads")
        << "exec 9> >(:); wait $!; \"$1\" form \"$2\" >&9" << settings << "mivo-host form: " + pipe;
    QTest::newRow("closed") << "\"$1\" call \"$2\" thread >&-" << echo
                            << "mivo-host call: " + closed;
}

void MivoHostCommandTest::outputThatCannotBeWrittenIsAnError()
{
    QFETCH(QString, line);
    QFETCH(QString, argument);
    QFETCH(QString, error);
    const Outcome outcome = inShell(line, argument);
    QCOMPARE(outcome.error, error);
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
