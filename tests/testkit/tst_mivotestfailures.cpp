#include <QtTest>

/** What fails a test of a plug-in: a program in which each function must fail is looked at. */
class MivoTestFailuresTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatGoesWrongFailsTheTest_data();
    void whatGoesWrongFailsTheTest();
    void everyFunctionIsLookedAt();

private:
    static QString outputOf(const QStringList& arguments, int* status);
};

QString MivoTestFailuresTest::outputOf(const QStringList& arguments, int* status)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(FAILURES, arguments);
    const bool hasEnded = process.waitForFinished(120000);
    *status = hasEnded && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAll());
}

void MivoTestFailuresTest::whatGoesWrongFailsTheTest_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QStringList>("sentences");
    const auto row = [](const char* function, const QStringList& sentences) {
        QTest::newRow(function) << QString(function) << sentences;
    };
    row("aCallThatThrows", {"kit: fail failed: no"});
    row("valuesOfACallThatThrows", {"kit: fail failed: no"});
    row("aStartThatFails", {"kit cannot be initialised: it says that it cannot work"});
    row("aTimerThatIsLeft",
        {"the timer \"tea\" is left, started in the thread \"kit\"; expected it to have fired or "
         "to "
         "be stopped"});
    row("aTimeOut", {"other: wait has not answered within 50 ms"});
    row("anUnexpectedAction",
        {"the fake \"other\" was asked for the action \"nonsense\"; expected none"});
    row("anActionThatNeverComes",
        {"\"note\" of the fake \"other\" was asked 0 times within 50 ms; expected 2"});
    const QString cannot = "kit: the field \"%1\" cannot be filled: %2";
    row("aFieldThatCannotBeFilled:unknown",
        {"kit: found no field \"nonsense\" in the form; expected one of: name, age, "});
    row("aFieldThatCannotBeFilled:locked", {cannot.arg("locked", "it is read-only")});
    row("aFieldThatCannotBeFilled:hidden", {cannot.arg("hidden", "it is hidden")});
    row("aFieldThatCannotBeFilled:kind",
        {cannot.arg("age", "found String \"old\"; expected MivoArg::Int")});
    row("aFieldThatCannotBeFilled:limit",
        {cannot.arg("age",
                    "found Int 100; expected a value within its limits: SpinBox \"age\" labelled "
                    "\"Age\" in \"People\": 30 from 1 to 99")});
    row("aFieldThatCannotBeFilled:length",
        {cannot.arg("name", "found String \"Ann-Marie\"; expected a value within its limits: ")});
    row("aFieldThatCannotBeFilled:item",
        {cannot.arg("colour", "found String \"blue\"; expected one of: red, green")});
    row("aFieldThatCannotBeFilled:button", {cannot.arg("press", "it has no value: Button")});
    row("aValueThatDiffers",
        {"Compared values are not the same", "(MivoArg(1)) : Int 1", "(MivoArg(2U)): UInt 2"});
    row("aListThatDiffers",
        {"Compared lists differ at index 1", "String \"two\"", "String \"three\""});
    row("aListThatIsShorter",
        {"Compared lists have different sizes (1 and 2)", "[Int 1]", "[Int 1, Int 2]"});
    row("aFieldThatDiffers", {": 30 from 1 to 99", ": 31 from 1 to 99"});
    row("aFieldThatIsNotThere",
        {"kit: found no field \"nonsense\" in the form; expected one of: "});
}

void MivoTestFailuresTest::whatGoesWrongFailsTheTest()
{
    QFETCH(QString, function);
    QFETCH(QStringList, sentences);
    int status = 0;
    const QString output = outputOf({function}, &status);
    QVERIFY2(status == 1, qPrintable(output)); // the number of functions that failed
    for (const QString& sentence : sentences)
        QVERIFY2(output.contains(sentence), qPrintable(output));
    // Where it stands in the program's source.
    QVERIFY2(
        QRegularExpression("Loc: \\[[^\\]]*failures\\.cpp\\([0-9]+\\)\\]").match(output).hasMatch(),
        qPrintable(output));
}

void MivoTestFailuresTest::everyFunctionIsLookedAt()
{
    int status = 0;
    QStringList functions = outputOf({"-functions"}, &status).split('\n');
    functions.removeAll(QString());
    QCOMPARE(status, 0);
    QCOMPARE(int(functions.size()), 13);
    // All of them fail, one after the other, and none takes the next one with it.
    const QString output = outputOf({}, &status);
    QVERIFY2(output.contains("Totals: 2 passed, 20 failed"), qPrintable(output));
    QCOMPARE(status, 20);
}

QTEST_GUILESS_MAIN(MivoTestFailuresTest)
#include "tst_mivotestfailures.moc"
