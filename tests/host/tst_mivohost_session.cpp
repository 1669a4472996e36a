#include "MivoHostCommand.h"

#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/** Runs a session with these lines on its standard input. */
Outcome session(const QStringList& plugins, const QString& lines)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "C.UTF-8");
    if (!environment.contains("ASAN_OPTIONS"))
        environment.insert("ASAN_OPTIONS", "fast_unwind_on_malloc=0");
    process.setProcessEnvironment(environment);
    process.start(MIVO_HOST, QStringList("session") + plugins);
    process.write(lines.toUtf8());
    process.closeWriteChannel();
    if (!process.waitForFinished(testBoundMs))
        return {-1, QString(), "has not ended in time"};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

/** A session at a terminal of its own. */
class Terminal
{
public:
    explicit Terminal(const QStringList& plugins)
    {
        winsize size = {};
        size.ws_row = 50;
        size.ws_col = 200;
        child = ::forkpty(&master, nullptr, nullptr, &size);
        if (child == 0) {
            ::setenv("TERM", "vt100", 1);
            ::setenv("LC_ALL", "C.UTF-8", 1);
            ::setenv("HOME", "/nonexistent", 1); // nobody's own settings
            ::setenv("ASAN_OPTIONS", "fast_unwind_on_malloc=0", 0);
            QList<QByteArray> words = {MIVO_HOST, "session"};
            for (const QString& plugin : plugins)
                words.append(plugin.toUtf8());
            std::vector<char*> arguments;
            for (QByteArray& word : words)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execv(MIVO_HOST, arguments.data());
            ::_exit(127);
        }
    }
    ~Terminal()
    {
        if (child > 0) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
        ::close(master);
    }

    void type(const QByteArray& keys) const
    {
        if (::write(master, keys.constData(), std::size_t(keys.size())) != keys.size())
            qFatal("the terminal takes nothing");
    }

    /** Whether @p text comes, behind what has been waited for before. */
    bool shows(const QByteArray& text)
    {
        const QDeadlineTimer deadline(testBoundMs);
        for (;;) {
            const int found = int(shown.indexOf(text, seen));
            if (found >= 0) {
                seen = found + int(text.size());
                return true;
            }
            if (deadline.hasExpired() || !read(1000))
                return false;
        }
    }

    /** The exit status, once it has ended. */
    int status()
    {
        while (read(testBoundMs)) { }
        int state = 0;
        ::waitpid(child, &state, 0);
        child = -1;
        return WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    }

    QByteArray shown; ///< all that it has written
    pid_t child = -1;

private:
    /** Reads what has come; false at the end. */
    bool read(int boundMs)
    {
        pollfd waiting = {master, POLLIN, 0};
        if (::poll(&waiting, 1, boundMs) == 0)
            return true;
        char bytes[4096];
        const ssize_t count = ::read(master, bytes, sizeof bytes);
        if (count <= 0)
            return false;
        shown.append(bytes, int(count));
        return true;
    }

    int master = -1;
    int seen = 0;
};

QStringList linesOf(const QString& text)
{
    return text.split('\n', Qt::SkipEmptyParts);
}

} // namespace

/** The command "session". */
class MivoHostSessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsAndActionsAreDoneInTheirOrder();
    void theSamePluginGoesOnFromLineToLine();
    void wordsStandBetweenMarks_data();
    void wordsStandBetweenMarks();
    void blankLinesAndCommentsDoNothing();
    void theFirstCommandThatFailsEndsAPipe_data();
    void theFirstCommandThatFailsEndsAPipe();
    void aFileThatIsNoPluginEndsItBeforeALine();
    void anActionThatFailsEndsWithStatus1();
    void entriesGetNamesThatStandForThem();
    void theContactListGivesNames();
    void whatPluginsReportAppears();
    void aFormIsChangedAndClicked();
    void waitLooksAtLinesSinceTheLastWait();
    void waitFailsWhenTheTimeIsUp();
    void pluginsAreShutDownInOrder();
    void thePluginsStartInTheOrderTheyRequire();
    void helpNamesAllCommands();
    void anInterruptedPipeIsShutDownInOrder_data();
    void anInterruptedPipeIsShutDownInOrder();

    void aTerminalEditsLinesAndKeepsThem();
    void aTerminalCompletesCommandsPluginsSlotsAndValues();
    void aTerminalGoesOnAfterAMistake();
    void reportsStandAboveTheLineThatIsTyped();
    void aTerminalEndsAtItsEndOfInput();
    void aTerminalIsInterruptedInOrder();
    void aCallThatNeverEndsIsInterrupted();
};

void MivoHostSessionTest::callsAndActionsAreDoneInTheirOrder()
{
    const Outcome outcome = session({ECHO_PLUGIN},
                                    "call echo sum int:40 int:2\n"
                                    "action echo record string:hello\n"
                                    "wait 60 delivered\n"
                                    "call echo recorded\n");
    QCOMPARE(outcome.error, QString());
    QCOMPARE(
        linesOf(outcome.out),
        QStringList({"MivoArg(Int: 42)", "[main      ] posted", "[dispatcher] delivered to echo",
                     "MivoArg(ArgList: (MivoArg(String: \"hello\") )  )"}));
    QCOMPARE(outcome.status, 0);
}

void MivoHostSessionTest::theSamePluginGoesOnFromLineToLine()
{
    const Outcome outcome = session({ECHO_PLUGIN},
                                    "call echo startTimer int:1 string:soon\n"
                                    "wait 60 \"soon\"\n"
                                    "call echo firedTimers\n"
                                    "quit\n"
                                    "call echo fail string:unread\n");
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("MivoArg(StringList: (\"soon\") )"), qPrintable(outcome.out));
    QCOMPARE(outcome.status, 0);
}

void MivoHostSessionTest::wordsStandBetweenMarks_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("printed");
    QTest::newRow("plain") << "string:a"
                           << "a";
    QTest::newRow("blanks") << "'string:a  b'"
                            << "a  b";
    QTest::newRow("part of it") << "string:\"a b\""
                                << "a b";
    QTest::newRow("apostrophe") << "\"string:it's\""
                                << "it's";
    QTest::newRow("both") << "string:it\"'\"s'\"'"
                          << "it's\"";
    QTest::newRow("backslash") << "string:a\\b"
                               << "a\\b";
    QTest::newRow("none") << "''string:"
                          << "";
    QTest::newRow("beyond ASCII") << QString::fromUtf8("string:Grüße")
                                  << QString::fromUtf8("Grüße");
    QTest::newRow("tab before") << "\tstring:a"
                                << "a";
}

void MivoHostSessionTest::wordsStandBetweenMarks()
{
    QFETCH(QString, word);
    QFETCH(QString, printed);
    const Outcome outcome = session({ECHO_PLUGIN}, "call echo echo " + word + '\n');
    QCOMPARE(outcome.error, QString());
    QCOMPARE(linesOf(outcome.out), QStringList("MivoArg(String: \"" + printed + "\")"));
}

void MivoHostSessionTest::blankLinesAndCommentsDoNothing()
{
    const Outcome outcome = session({ECHO_PLUGIN},
                                    "\n   \n# fail\n  # fail\ncall echo sum\r\n"
                                    "call echo sum int:1"); // without a line end
    QCOMPARE(outcome.error, QString());
    QCOMPARE(linesOf(outcome.out), QStringList({"MivoArg(Int: 0)", "MivoArg(Int: 1)"}));
    QCOMPARE(outcome.status, 0);
}

void MivoHostSessionTest::theFirstCommandThatFailsEndsAPipe_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");
    QTest::newRow("no such command")
        << "cal echo sum"
        << "found the command \"cal\"; expected one of call, action, form, roster, wait, help, "
           "quit; the nearest is call";
    QTest::newRow("no such plug-in")
        << "call ecco sum"
        << "found the plug-in \"ecco\"; expected one of echo, settings; the nearest is echo";
    QTest::newRow("no slot") << "call echo"
                             << "call: found 1 arguments; expected PLUGIN and SLOT";
    QTest::newRow("slot fails") << "call echo fail 'string:no luck'"
                                << "echo: fail failed: no luck";
    QTest::newRow("an action") << "call echo record"
                               << "echo: record is an action: use action";
    QTest::newRow("a call") << "action echo sum"
                            << "echo: sum is a call: use call";
    QTest::newRow("value") << "call echo echo int:x"
                           << "int:x: position 5: found \"x\"; expected a whole number";
    QTest::newRow("open mark") << "call echo echo 'string:a"
                               << "found the end of the line; expected the second ' or \"";
    QTest::newRow("unknown entry")
        << "call echo echo $1"
        << "found $1; expected a name that an answer has given; there is none yet";
    QTest::newRow("field") << "form settings --set volum=1"
                           << "found no field with the id \"volum\"";
    QTest::newRow("refused") << "form settings --set nickname="
                             << "settings does not take the values over: the nickname is empty";
    QTest::newRow("option") << "form settings --sett x"
                            << "form: found the option --sett; expected one of --set, --click";
    QTest::newRow("seconds") << "wait soon x"
                             << "wait: found \"soon\"; expected seconds from 0 to";
}

void MivoHostSessionTest::theFirstCommandThatFailsEndsAPipe()
{
    QFETCH(QString, line);
    QFETCH(QString, error);
    const Outcome outcome = session({ECHO_PLUGIN, SETTINGS_PLUGIN},
                                    "call echo sum int:1\n" + line + "\ncall echo sum int:2\n");
    QVERIFY2(outcome.error.startsWith("mivo-host session: line 2: " + error),
             qPrintable(outcome.error));
    QCOMPARE(outcome.error.count('\n'), 1);
    QCOMPARE(linesOf(outcome.out), QStringList("MivoArg(Int: 1)"));
    QCOMPARE(outcome.status, 1);
}

void MivoHostSessionTest::aFileThatIsNoPluginEndsItBeforeALine()
{
    const Outcome outcome = session({ECHO_PLUGIN, "/no/such.so"}, "call echo sum\n");
    QVERIFY2(outcome.error.startsWith("mivo-host session: /no/such.so: found no such file"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

void MivoHostSessionTest::anActionThatFailsEndsWithStatus1()
{
    const Outcome outcome = session({ECHO_PLUGIN}, "action echo failLater\n");
    QVERIFY2(outcome.error.contains("failLater was asked to fail"), qPrintable(outcome.error));
    QCOMPARE(outcome.status, 1);
}

void MivoHostSessionTest::entriesGetNamesThatStandForThem()
{
    const Outcome outcome = session({PROBE_PLUGIN},
                                    "call probe contact string:ann\n"
                                    "call probe sendMessage $1 string:hi\n"
                                    "call probe openConversation $1\n"
                                    "call probe contact string:ann\n"
                                    "call probe arrive string:bob\n"
                                    "call probe contact string:bob\n"
                                    "call probe sendMessage $3 string:hi\n");
    QVERIFY2(outcome.error.startsWith("mivo-host session: line 7: found $3; expected one of $1 to "
                                      "$2"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.out.count("$1 = MivoArg(Buddy: MivoBuddyContact("), 2); // always the same
    QCOMPARE(outcome.out.count("$2 = MivoArg(Buddy: MivoBuddyContact("), 1);
    QVERIFY2(outcome.out.contains("MivoArg(String: \"out0\")"), qPrintable(outcome.out));
    QVERIFY2(outcome.out.contains("MivoArg(String: \"hi\")"), qPrintable(outcome.out));
}

void MivoHostSessionTest::theContactListGivesNames()
{
    const Outcome outcome = session({PROBE_PLUGIN},
                                    "roster probe\n"
                                    "call probe markRead $2\n");
    QCOMPARE(outcome.error, QString());
    const QStringList lines = linesOf(outcome.out);
    QCOMPARE(lines.value(0), QString("$1  group \"Friends\": 1 entry, 1 online"));
    QVERIFY2(lines.value(1).startsWith("  $2  contact \"ann\": id \"ann\", presence \"Online\""),
             qPrintable(outcome.out));
    QCOMPARE(lines.value(2), QString("[probe     ] probe: entries have changed: $2 \"ann\""));
}

void MivoHostSessionTest::whatPluginsReportAppears()
{
    const Outcome outcome = session({PROBE_PLUGIN},
                                    "call probe arrive string:bob\n"
                                    "call probe state string:connected\n"
                                    "call probe hear string:bob 'string:good day'\n"
                                    "wait 60 'good day'\n");
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.contains("[probe     ] probe: the contact list has changed\n"),
             qPrintable(outcome.out));
    QVERIFY(outcome.out.contains("[probe     ] probe: the form has changed\n"));
    QVERIFY(outcome.out.contains("[probe     ] probe: entries have changed: $1 \"bob\"\n"));
    QVERIFY2(outcome.out.contains("[dispatcher] reported: $1 \"bob\", MivoArg(String: "
                                  "\"received\"), MivoArg(String: \"in0\"), MivoArg(String: \"good "
                                  "day\")"),
             qPrintable(outcome.out));
}

void MivoHostSessionTest::aFormIsChangedAndClicked()
{
    const Outcome outcome = session(
        {ECHO_PLUGIN, SETTINGS_PLUGIN},
        "form settings --set nickname=Bea volume=0.25 --click greet\nwait 60 delivered to echo\n"
        "form settings\ncall echo recorded\n");
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.out.count("Nickname: \"Bea\""), 2);
    QCOMPARE(outcome.out.count("Volume: 0.25"), 2);
    QVERIFY(outcome.out.contains("[main      ] clicked greet\n"));
    QVERIFY(outcome.out.contains("greetings from the settings"));

    const Outcome secret = session({PROBE_PLUGIN},
                                   "form probe --set password=opensaysme\n"
                                   "call probe applied\n");
    QVERIFY(!secret.out.section("MivoArg", 0, 0).contains("sesame"));
    QVERIFY(!secret.out.section("MivoArg", 0, 0).contains("opensaysme"));
    QVERIFY2(secret.out.contains("(\"ANN@EXAMPLE.ORG\", \"opensaysme\")"), qPrintable(secret.out));
}

void MivoHostSessionTest::waitLooksAtLinesSinceTheLastWait()
{
    // The second is there already; the first is not looked at again.
    const Outcome outcome = session({PROBE_PLUGIN},
                                    "call probe state string:a\n"
                                    "call probe arrive string:bob\n"
                                    "wait 60 form has changed\n"
                                    "wait 60 list has changed\n"
                                    "wait 0.2 form has changed\n");
    QVERIFY2(outcome.error.startsWith("mivo-host session: line 5: wait: no line with \"form has "
                                      "changed\" within 0.2 s"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.status, 1);
}

void MivoHostSessionTest::waitFailsWhenTheTimeIsUp()
{
    const Outcome outcome = session({ECHO_PLUGIN}, "wait 0 anything\n");
    QVERIFY2(outcome.error.startsWith("mivo-host session: line 1: wait: no line with \"anything\" "
                                      "within 0 s"),
             qPrintable(outcome.error));
    QCOMPARE(outcome.status, 1);
}

void MivoHostSessionTest::pluginsAreShutDownInOrder()
{
    const Outcome outcome = session({PROBE_PLUGIN, SECOND_PLUGIN}, "quit\n");
    QCOMPARE(outcome.error, QString());
    QCOMPARE(linesOf(outcome.out),
             QStringList({"[second    ] second has been shut down",
                          "[probe     ] probe has been shut down"}));
}

void MivoHostSessionTest::thePluginsStartInTheOrderTheyRequire()
{
    const QString folder = REQUIRING;
    const Outcome outcome
        = session({folder + "/chain_a.so", folder + "/chain_b.so", folder + "/chain_c.so"},
                  "call chain_d x\n");
    QVERIFY2(outcome.error.contains("expected one of chain_c, chain_b, chain_a"),
             qPrintable(outcome.error));
    const Outcome lacking = session({folder + "/chain_a.so"}, "quit\n");
    QVERIFY2(lacking.error.contains("requires \"chain_b\""), qPrintable(lacking.error));
    QCOMPARE(lacking.status, 1);
}

void MivoHostSessionTest::helpNamesAllCommands()
{
    const Outcome outcome = session({ECHO_PLUGIN}, "help\n");
    for (const char* const name : {"call PLUGIN SLOT", "action PLUGIN SLOT", "form PLUGIN",
                                   "roster PLUGIN", "wait SECONDS TEXT", "help", "quit"})
        QVERIFY2(outcome.out.contains(name), name);
    QVERIFY(mivoHost({"session", "--help"}).out.contains("wait SECONDS TEXT"));
}

void MivoHostSessionTest::anInterruptedPipeIsShutDownInOrder_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void MivoHostSessionTest::anInterruptedPipeIsShutDownInOrder()
{
    QFETCH(int, number);
    QProcess process;
    process.start(MIVO_HOST, {"session", PROBE_PLUGIN, SECOND_PLUGIN});
    process.write("call probe contact string:ann\n");
    QByteArray shown;
    while (!shown.contains("$1 = ")) {
        QVERIFY(process.waitForReadyRead(testBoundMs));
        shown += process.readAllStandardOutput();
    }
    ::kill(pid_t(process.processId()), number);
    QVERIFY(process.waitForFinished(testBoundMs));
    shown += process.readAllStandardOutput();
    QCOMPARE(process.exitCode(), 128 + number);
    QVERIFY2(shown.contains("second has been shut down\n[probe     ] probe has been shut down\n"),
             shown.constData());
}

void MivoHostSessionTest::aTerminalEditsLinesAndKeepsThem()
{
    Terminal terminal({ECHO_PLUGIN});
    QVERIFY2(terminal.shows("mivo> "), terminal.shown.constData());
    terminal.type("all echo sum int:40 int:3\x7f"
                  "2\x01" // a mistake is taken back, and the beginning is put right
                  "c\r");
    QVERIFY2(terminal.shows("MivoArg(Int: 42)"), terminal.shown.constData());
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("\x10 int:8\r"); // the line before, and more
    QVERIFY2(terminal.shows("MivoArg(Int: 50)"), terminal.shown.constData());
    terminal.type("call echo echo string:Gr\xc3\xbc\xc3\x9f"
                  "e\r");
    QVERIFY2(terminal.shows("MivoArg(String: \"Gr\xc3\xbc\xc3\x9f"
                            "e\")"),
             terminal.shown.constData());
    terminal.type("quit\r");
    QCOMPARE(terminal.status(), 0);
}

void MivoHostSessionTest::aTerminalCompletesCommandsPluginsSlotsAndValues()
{
    Terminal terminal({ECHO_PLUGIN, SETTINGS_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("ca\tec\tsu\tint\t"); // int: and int64: are left
    QVERIFY2(terminal.shows("int:  int64:"), terminal.shown.constData());
    terminal.type(":7\r");
    QVERIFY2(terminal.shows("MivoArg(Int: 7)"), terminal.shown.constData());
    terminal.type("form se\t--c\tgreet\r");
    QVERIFY2(terminal.shows("clicked greet"), terminal.shown.constData());
    terminal.type("action echo \t");
    QVERIFY2(terminal.shows("record  failLater"), terminal.shown.constData());
    terminal.type("\x15quit\r");
    QCOMPARE(terminal.status(), 0);
}

void MivoHostSessionTest::aTerminalGoesOnAfterAMistake()
{
    Terminal terminal({ECHO_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("call echo fail string:bad\r");
    QVERIFY2(terminal.shows("fail failed: bad"), terminal.shown.constData());
    terminal.type("call echo sum int:5\r");
    QVERIFY2(terminal.shows("MivoArg(Int: 5)"), terminal.shown.constData());
    terminal.type("quit\r");
    QCOMPARE(terminal.status(), 0);
}

void MivoHostSessionTest::reportsStandAboveTheLineThatIsTyped()
{
    Terminal terminal({ECHO_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("call echo startTimer int:300 string:tick\r");
    terminal.type("call echo su");
    QVERIFY2(terminal.shows("the timer \"tick\" has fired"), terminal.shown.constData());
    QVERIFY2(terminal.shows("mivo> call echo su"), terminal.shown.constData());
    terminal.type("m int:6\r");
    QVERIFY2(terminal.shows("MivoArg(Int: 6)"), terminal.shown.constData());
    terminal.type("quit\r");
    QCOMPARE(terminal.status(), 0);
}

void MivoHostSessionTest::aTerminalEndsAtItsEndOfInput()
{
    Terminal terminal({PROBE_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("\x04");
    QCOMPARE(terminal.status(), 0);
    QVERIFY2(terminal.shown.contains("probe has been shut down"), terminal.shown.constData());
}

void MivoHostSessionTest::aTerminalIsInterruptedInOrder()
{
    Terminal terminal({PROBE_PLUGIN, SECOND_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    terminal.type("call pro\x03");
    QVERIFY2(terminal.shows("second has been shut down"), terminal.shown.constData());
    QVERIFY2(terminal.shows("probe has been shut down"), terminal.shown.constData());
    QCOMPARE(terminal.status(), 130);
}

void MivoHostSessionTest::aCallThatNeverEndsIsInterrupted()
{
    const QTemporaryDir folder;
    Terminal terminal({PROBE_PLUGIN, SECOND_PLUGIN});
    QVERIFY(terminal.shows("mivo> "));
    const QString mark = folder.filePath("hangs");
    terminal.type("call probe hang string:" + mark.toUtf8() + '\r');
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(mark), testBoundMs);
    terminal.type("\x03");
    QVERIFY2(terminal.shows("second has been shut down"), terminal.shown.constData());
    QVERIFY2(terminal.shows("probe does not end"), terminal.shown.constData());
    QCOMPARE(terminal.status(), 130);
}

QTEST_GUILESS_MAIN(MivoHostSessionTest)
#include "tst_mivohost_session.moc"
