#include "CommandOutcome.h"

/** The manual page of the window's program, made of what its --help is made of. */
class MivoWindowManualTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itNamesAllOptions();
    void itIsWellFormed();
    void itIsWrittenWithoutADisplay();
};

void MivoWindowManualTest::itNamesAllOptions()
{
    QFile file(MIVO_WINDOW_MANUAL);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll()).replace("\\-", "-");
    for (const char* text :
         {".TH MIVO-WINDOW 1 ",
          "\n\\fBmivo-window\\fR [\\fIOPTION\\fR...] [\\fIFILE\\fR...]\n.br\n",
          "\n\\fBmivo-window\\fR \\fB--help\\fR\n", "\nmivo-window - a window on ",
          "\n.B --picture FILE\nWrite a ", "\n.B -h, --help\n", "\n.B FILE\nA plug-in to open.",
          ".SH EXIT STATUS\n0, 1 "})
        QVERIFY2(page.contains(text), text);

    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QString help = outcomeOf(MIVO_WINDOW_PROGRAM, {"--help"}).out;
    static const QRegularExpression option("^  .*(--[a-z]+)", QRegularExpression::MultilineOption);
    QStringList options;
    QRegularExpressionMatchIterator found = option.globalMatch(help);
    while (found.hasNext())
        options << found.next().captured(1);
    options.removeAll("--help-all"); // shows the same
    QVERIFY2(options.contains("--page") && options.contains("--version"), qPrintable(help));
    for (const QString& name : std::as_const(options))
        QVERIFY2(page.contains(QRegularExpression("\n\\.B (-., )?" + name)), qPrintable(name));
}

void MivoWindowManualTest::itIsWellFormed()
{
    if (QStandardPaths::findExecutable("groff").isEmpty())
        QSKIP("groff is not installed");
    const Outcome outcome = outcomeOf("groff", {"-man", "-Tutf8", "-ww", "-z", MIVO_WINDOW_MANUAL});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
}

void MivoWindowManualTest::itIsWrittenWithoutADisplay()
{
    qputenv("QT_QPA_PLATFORM", "no such platform");
    QFile file(MIVO_WINDOW_MANUAL);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const Outcome outcome = outcomeOf(MIVO_WINDOW_PROGRAM, {"--man"});
    QCOMPARE(outcome.out, QString::fromUtf8(file.readAll()));
    QCOMPARE(outcome.status, 0);
}

QTEST_GUILESS_MAIN(MivoWindowManualTest)
#include "tst_mivowindow_manual.moc"
