#include "MivoHostCommand.h"

namespace {

/** What bash proposes for @p line, in which the program is called "mivo-host". */
QStringList proposedByBash(const QString& line, const QString& folder)
{
    const QString script("cd \"$4\"; HOME=$4; PATH=${2%/*}:$PATH; source \"$1/mivo-host.bash\"; "
                         "COMP_LINE=$3; COMP_POINT=${#3}; "
                         "_mivo_host && printf '%s\\n' \"${COMPREPLY[@]}\" | sort");
    const Outcome outcome
        = outcomeOf("bash", {"-c", script, "bash", COMPLETIONS, MIVO_HOST, line, folder});
    QStringList proposals = (outcome.out + outcome.error).split('\n');
    proposals.removeAll(QString());
    return proposals;
}

/** What a terminal shows when a user types @p keys, and the return key, into bash. */
QString shownByBash(const QString& keys, const QString& folder)
{
    const QString script(
        "cd \"$4\"; printf 'PATH=%q:$PATH; source %q\\n' \"${2%/*}\" \"$1/mivo-host.bash\" >rc; "
        "printf '%s\\nexit\\n' \"$3\" | script -qec 'bash --noprofile --rcfile rc -i' /dev/null");
    const Outcome outcome
        = outcomeOf("bash", {"-c", script, "bash", COMPLETIONS, MIVO_HOST, keys, folder});
    return outcome.out + outcome.error;
}

/** What zsh's function adds for the last of @p words. */
QStringList proposedByZsh(const QStringList& words)
{
    const Outcome outcome = outcomeOf(
        "zsh",
        QStringList({"-f", "-c",
                     "PATH=${2%/*}:$PATH; file=$1; shift 2; words=(mivo-host \"$@\"); "
                     "CURRENT=${#words}; PREFIX=${words[-1]}; "
                     "compadd() { while [[ $1 == -* && $1 != -- ]]; do [[ $1 == -S ]] && shift; "
                     "shift; done; shift; print -l -- \"$@\" }; "
                     "_files() { print -l \"files $*\" }; compset() { PREFIX=${PREFIX#*=} }; "
                     "run() { source $file }; run | sort",
                     "zsh", QString(COMPLETIONS) + "/_mivo-host", MIVO_HOST})
            + words);
    QStringList proposals = (outcome.out + outcome.error).split('\n');
    proposals.removeAll(QString());
    return proposals;
}

} // namespace

/** What the program tells shells and readers of manuals, made of the table of its commands. */
class MivoHostCompletionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theProgramKnowsWhatMayFollow_data();
    void theProgramKnowsWhatMayFollow();
    void bashProposesIt_data();
    void bashProposesIt();
    void whatBashTypesIsReadAgain_data();
    void whatBashTypesIsReadAgain();
    void zshProposesIt();
    void theManualNamesAllCommandsAndOptions();
    void theManualIsWellFormed();
};

void MivoHostCompletionTest::theProgramKnowsWhatMayFollow_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("proposals");
    const QString echo = ECHO_PLUGIN;
    const QStringList options({"--with", "--wait", "--json", "--help"});
    QTest::newRow("nothing") << QStringList("")
                             << QStringList({"plugins", "call", "action", "form", "frames",
                                             "roster", "session", "new", "demo", "--help",
                                             "--version"});
    QTest::newRow("command") << QStringList("fr") << QStringList("frames");
    QTest::newRow("no such command") << QStringList({"dance", ""}) << QStringList();
    QTest::newRow("option") << QStringList({"call", "--w"}) << QStringList({"--with", "--wait"});
    QTest::newRow("all options") << QStringList({"call", echo, "echo", "-"}) << options;
    QTest::newRow("options that begin alike")
        << QStringList({"form", echo, "--with"}) << QStringList({"--with-secrets", "--with"});
    QTest::newRow("plug-in") << QStringList({"call", ""}) << QStringList(":plugins");
    QTest::newRow("after an option")
        << QStringList({"call", "--wait", "5", "--with", "x.so", ""}) << QStringList(":plugins");
    QTest::newRow("call") << QStringList({"call", echo, "f"})
                          << QStringList({"fail", "firedTimers"});
    QTest::newRow("action") << QStringList({"action", echo, ""})
                            << QStringList({"record", "failLater"});
    QTest::newRow("slot behind options")
        << QStringList({"call", "--json", "--with=x.so", echo, "su"}) << QStringList("sum");
    QTest::newRow("slot of no plug-in")
        << QStringList({"call", "/no/such.so", ""}) << QStringList();
    QTest::newRow("kind") << QStringList({"call", echo, "sum", "int"})
                          << QStringList({"int:", "int64:"});
    QTest::newRow("another kind") << QStringList({"call", echo, "sum", "int:1", "n"})
                                  << QStringList("none");
    QTest::newRow("value of an option")
        << QStringList({"form", echo, "--load", ""}) << QStringList(":files");
    QTest::newRow("further values")
        << QStringList({"form", echo, "--with", "x.so", ""}) << QStringList(":plugins");
    QTest::newRow("value of nothing known") << QStringList({"call", "--wait", ""}) << QStringList();
    QTest::newRow("export") << QStringList({"roster", echo, ""}) << QStringList(":files");
    QTest::newRow("more than it takes") << QStringList({"roster", echo, "x", ""}) << QStringList();
    QTest::newRow("after --") << QStringList({"plugins", "--", "-"}) << QStringList();
}

void MivoHostCompletionTest::theProgramKnowsWhatMayFollow()
{
    QFETCH(QStringList, words);
    QFETCH(QStringList, proposals);
    const Outcome outcome = mivoHost(QStringList("--complete") + words);
    QStringList proposed = outcome.out.split('\n');
    proposed.removeLast();
    QCOMPARE(proposed, proposals);
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

void MivoHostCompletionTest::bashProposesIt_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("proposals");
    const QString echo = "folder/echo.so"; // its own folder may have a blank in its name
    QTest::newRow("command") << "mivo-host ro" << QStringList("roster");
    QTest::newRow("option") << "mivo-host call --wi" << QStringList("--with");
    QTest::newRow("slot") << "mivo-host call " + echo + " s" << QStringList({"startTimer", "sum"});
    QTest::newRow("slot after a blank")
        << "mivo-host action " + echo + ' ' << QStringList({"failLater", "record"});
    QTest::newRow("kind") << "mivo-host call " + echo + " sum int"
                          << QStringList({"int64:", "int:"});
    QTest::newRow("plug-ins and folders")
        << "mivo-host call " << QStringList({"a.so", "folder", "it's \"my\" folder"});
    QTest::newRow("files") << "mivo-host form a.so --load="
                           << QStringList({"a.so", "b c.xml", "b.xml", "folder",
                                           "it's \"my\" folder", "x:y=z.xml"});
    const QStringList slots({"startTimer", "sum"});
    QTest::newRow("slot after a name with backslashes")
        << R"(mivo-host call it\'s\ \"my\"\ folder/echo.so s)" << slots;
    QTest::newRow("slot after a name between double quotes")
        << R"(mivo-host call "it's \"my\" folder/echo.so" s)" << slots;
    QTest::newRow("slot after a name between quotes of both kinds")
        << R"(mivo-host call "it's "'"my" folder'/echo.so s)" << slots;
    QTest::newRow("slot after a name at home") << "mivo-host call ~/" + echo + " s" << slots;
    QTest::newRow("name that begins with backslashes")
        << R"(mivo-host call it\'s\ \"m)" << QStringList("it's \"my\" folder");
    QTest::newRow("name in an open quote")
        << R"(mivo-host call "it's \"my\" folder/e)" << QStringList("it's \"my\" folder/echo.so");
    // Only what bash takes for the word is replaced: behind an open quote, : or =.
    QTest::newRow("open quote within") << R"(mivo-host call folder/"e)" << QStringList("echo.so");
    QTest::newRow("open quote after =")
        << R"(mivo-host form a.so --load="b )" << QStringList("b c.xml");
    QTest::newRow("behind a colon") << "mivo-host form a.so --load=x:" << QStringList("y=z.xml");
    QTest::newRow("behind a = in a name")
        << "mivo-host form a.so --load=x:y=" << QStringList("z.xml");
    QTest::newRow("behind a quoted colon")
        << R"(mivo-host form a.so --load=x\:)" << QStringList("x:y=z.xml");
    QTest::newRow("name at home") << "mivo-host call ~/fo" << QStringList("~/folder");
    QTest::newRow("empty word in quotes")
        << "mivo-host call folder/echo.so '' f" << QStringList("float:");
}

void MivoHostCompletionTest::bashProposesIt()
{
    QFETCH(QString, line);
    QFETCH(QStringList, proposals);
    const QTemporaryDir folder;
    for (const char* name : {"folder", "it's \"my\" folder"}) {
        QVERIFY(QDir(folder.path()).mkdir(name));
        QVERIFY(QFile::link(ECHO_PLUGIN, folder.filePath(QString(name) + "/echo.so")));
    }
    for (const char* name : {"a.so", "b.xml", "b c.xml", "x:y=z.xml"}) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QCOMPARE(proposedByBash(line, folder.path()), proposals);
}

void MivoHostCompletionTest::whatBashTypesIsReadAgain_data()
{
    QTest::addColumn<QString>("keys");
    QTest::newRow("backslash") << R"(mivo-host plugins a\ b	)";
    QTest::newRow("no quotes") << R"(mivo-host plugins a	)";
    QTest::newRow("double quotes") << R"(mivo-host plugins "a b	)";
    QTest::newRow("quotes") << R"(mivo-host plugins 'a b	)";
    QTest::newRow("and on") << R"(mivo-host plugins "a b	e	)";
}

void MivoHostCompletionTest::whatBashTypesIsReadAgain()
{
    QFETCH(QString, keys);
    const QTemporaryDir folder;
    const QString name = "a b$c&d";
    QVERIFY(QDir(folder.path()).mkdir(name));
    QVERIFY(QFile::link(ECHO_PLUGIN, folder.filePath(name + "/echo.so")));
    keys.replace("\\t", "\t");
    if (keys.count('\t') == 1)
        keys += "echo.so\t";
    const QString shown = shownByBash(keys, folder.path());
    QVERIFY2(shown.contains(name + "/echo.so: echo "), qPrintable(shown));
}

void MivoHostCompletionTest::zshProposesIt()
{
    if (QStandardPaths::findExecutable("zsh").isEmpty())
        QSKIP("zsh is not installed");
    const QString echo = ECHO_PLUGIN;
    QCOMPARE(proposedByZsh({"ro"}), QStringList("roster"));
    QCOMPARE(proposedByZsh({"call", "--wi"}), QStringList("--with"));
    QCOMPARE(proposedByZsh({"call", echo, "s"}), QStringList({"startTimer", "sum"}));
    QCOMPARE(proposedByZsh({"call", echo, "sum", "int"}), QStringList({"int64:", "int:"}));
    QCOMPARE(proposedByZsh({"call", ""}), QStringList("files -g *.so"));
    QCOMPARE(proposedByZsh({"form", echo, "--load="}), QStringList("files "));
}

void MivoHostCompletionTest::theManualNamesAllCommandsAndOptions()
{
    QFile file(MAN_PAGE);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll()).replace("\\-", "-");
    for (const char* text :
         {".TH MIVO-HOST 1 ", "\n\\fBmivo-host\\fR \\fB--help\\fR [\\fICOMMAND\\fR]\n",
          ".SS call FILE SLOT [KIND:VALUE...] [--with FILE...] ", ".SS demo\n",
          "\n.B --save out.xml\nwrites the values", "\n.B --json\n", "KIND:VALUE is one of: none, ",
          ".SH EXIT STATUS\n0, 1 "})
        QVERIFY2(page.contains(text), text);
    for (const char* command :
         {"plugins", "call", "action", "form", "frames", "roster", "session", "new", "demo"}) {
        const QString help = mivoHost({command, "--help"}).out;
        const QString synopsis = help.section('\n', 0, 0).remove("usage: mivo-host ");
        QVERIFY2(page.contains(".SS " + synopsis + '\n'), command);
    }
}

void MivoHostCompletionTest::theManualIsWellFormed()
{
    if (QStandardPaths::findExecutable("groff").isEmpty())
        QSKIP("groff is not installed");
    const Outcome outcome = outcomeOf("groff", {"-man", "-Tutf8", "-ww", "-z", MAN_PAGE});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

QTEST_GUILESS_MAIN(MivoHostCompletionTest)
#include "tst_mivohost_completion.moc"
