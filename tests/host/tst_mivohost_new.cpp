#include "MivoHostCommand.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

namespace {

QByteArray contentOf(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList entriesOf(const QString& folder)
{
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QJsonObject wizard()
{
    QJsonParseError error;
    const QJsonDocument document
        = QJsonDocument::fromJson(contentOf(QString(TEMPLATE) + "/wizard.json"), &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("wizard.json: %s", qPrintable(error.errorString()));
    return document.object();
}

QJsonArray filesOf(const QJsonObject& wizard)
{
    const QJsonObject generator = wizard.value("generators").toArray().at(0).toObject();
    return generator.value("data").toArray();
}

} // namespace

/** The command "new", and the wizard that makes the same. */
class MivoHostNewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aProjectIsMade();
    void theFolderMayBeNamed();
    void aNameThatIsNoneIsRefused_data();
    void aNameThatIsNoneIsRefused();
    void whatIsThereIsNeverTouched_data();
    void whatIsThereIsNeverTouched();
    void nothingIsLeftOfAProjectThatCannotBeMade();
    void theWizardNamesTheFilesThatThereAre();
    void theWizardMakesTheSameProject_data();
    void theWizardMakesTheSameProject();
};

void MivoHostNewTest::aProjectIsMade()
{
    const QTemporaryDir folder;
    const Outcome outcome = mivoHost({"new", "tea_time2", "--dir", folder.path()});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
    const QString project = folder.filePath("tea_time2");
    QCOMPARE(outcome.out, "made " + project + "; its README.md says how it is built and tried\n");
    QCOMPARE(entriesOf(folder.path()), QStringList("tea_time2"));
    QCOMPARE(entriesOf(project),
             QStringList({"CMakeLists.txt", "README.md", "Tea_time2Plugin.cpp", "Tea_time2Plugin.h",
                          "tst_tea_time2.cpp"}));
    QVERIFY(contentOf(project + "/CMakeLists.txt").contains("mivo_add_plugin(tea_time2\n"));
    QVERIFY(contentOf(project + "/Tea_time2Plugin.h").startsWith("#ifndef TEA_TIME2PLUGIN_H\n"));
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const QStringList files = entriesOf(project);
    for (const QString& file : files) {
        QVERIFY2(!contentOf(project + '/' + file).contains("%{"), qPrintable(file));
        struct stat status = {};
        QCOMPARE(::stat(qPrintable(project + '/' + file), &status), 0);
        QCOMPARE(status.st_mode & 0777, 0666 & ~mask);
    }
}

void MivoHostNewTest::theFolderMayBeNamed()
{
    const QTemporaryDir folder;
    const Outcome outcome = outcomeOf(
        "bash", {"-c", "cd \"$1\" && \"$2\" new reminder", "bash", folder.path(), MIVO_HOST});
    QCOMPARE(outcome.out, QString("made reminder; its README.md says how it is built and tried\n"));
    QCOMPARE(entriesOf(folder.path()), QStringList("reminder"));
}

void MivoHostNewTest::aNameThatIsNoneIsRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("message");
    const QString expected = "; expected a letter of A to Z or a to z, and behind it letters, "
                             "digits and underscores, at most 64 in all\n";
    QTest::newRow("blank") << "tea time"
                           << "found the name \"tea time\"" + expected;
    QTest::newRow("digit") << "2nd"
                           << "found the name \"2nd\"" + expected;
    QTest::newRow("way") << "../tea"
                         << "found the name \"../tea\"" + expected;
    QTest::newRow("letter") << QString::fromUtf8("t\xc3\xa9")
                            << QString::fromUtf8("found the name \"t\xc3\xa9\"") + expected;
    QTest::newRow("line end") << "tea\n"
                              << "found the name \"tea\\u000a\"" + expected;
    QTest::newRow("empty") << ""
                           << "found the name \"\"" + expected;
    QTest::newRow("long") << QString(65, 'a')
                          << "found the name \"" + QString(65, 'a') + '"' + expected;
    QTest::newRow("word")
        << "while"
        << "found the name \"while\", a word of C++ or CMake; expected another one\n";
    QTest::newRow("target")
        << "test"
        << "found the name \"test\", a word of C++ or CMake; expected another one\n";
}

void MivoHostNewTest::aNameThatIsNoneIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, message);
    const QTemporaryDir folder;
    const Outcome outcome = mivoHost({"new", name, "--dir", folder.path()}, "C.UTF-8");
    QVERIFY2(outcome.error.startsWith("mivo-host new: " + message), qPrintable(outcome.error));
    QCOMPARE(outcome.status, 2);
    QCOMPARE(entriesOf(folder.path()), QStringList());
}

void MivoHostNewTest::whatIsThereIsNeverTouched_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("folder") << "mkdir reminder && echo mine >reminder/README.md";
    QTest::newRow("empty folder") << "mkdir reminder";
    QTest::newRow("file") << "echo mine >reminder";
    QTest::newRow("link that leads nowhere") << "ln -s nowhere reminder";
}

void MivoHostNewTest::whatIsThereIsNeverTouched()
{
    QFETCH(QString, command);
    const QTemporaryDir folder;
    const Outcome made
        = outcomeOf("bash", {"-c", "cd \"$1\" && " + command, "bash", folder.path()});
    QCOMPARE(made.status, 0);
    const QStringList before = entriesOf(folder.filePath("reminder"));
    const Outcome outcome = mivoHost({"new", "reminder", "--dir", folder.path()});
    QCOMPARE(outcome.error,
             "mivo-host new: " + folder.filePath("reminder")
                 + ": is there already; expected a name that nothing has\n");
    QCOMPARE(outcome.status, 1);
    QCOMPARE(entriesOf(folder.path()).size(), 1);
    QCOMPARE(entriesOf(folder.filePath("reminder")), before);
    if (before.contains("README.md"))
        QCOMPARE(contentOf(folder.filePath("reminder/README.md")), QByteArray("mine\n"));
}

void MivoHostNewTest::nothingIsLeftOfAProjectThatCannotBeMade()
{
    const QTemporaryDir folder;
    // No file may become longer than a kilobyte: the sources of the plug-in do not fit.
    const Outcome full = outcomeOf("bash",
                                   {"-c",
                                    "trap '' XFSZ; ulimit -f 1; exec \"$1\" new reminder --dir "
                                    "\"$2\"",
                                    "bash", MIVO_HOST, folder.path()});
    QVERIFY2(full.error.contains("cannot be written: File too large"), qPrintable(full.error));
    QCOMPARE(full.status, 1);
    QCOMPARE(entriesOf(folder.path()), QStringList());

    const Outcome nowhere = mivoHost({"new", "reminder", "--dir", folder.filePath("nowhere")});
    QCOMPARE(nowhere.error,
             "mivo-host new: " + folder.filePath("nowhere/reminder")
                 + ": cannot be made: No such file or directory\n");
    QCOMPARE(nowhere.status, 1);
    QCOMPARE(entriesOf(folder.path()), QStringList());
}

void MivoHostNewTest::theWizardNamesTheFilesThatThereAre()
{
    const QJsonObject description = wizard();
    for (const char* key : {"version", "supportedProjectTypes", "id", "category", "trDescription",
                            "trDisplayName", "trDisplayCategory", "options", "pages", "generators"})
        QVERIFY2(description.contains(key), key);
    QCOMPARE(description.value("version").toInt(), 1);
    QStringList named("wizard.json");
    const QJsonArray files = filesOf(description);
    for (const QJsonValue& file : files)
        named.append(file.toObject().value("source").toString());
    named.sort();
    QStringList there = entriesOf(TEMPLATE);
    there.sort();
    QCOMPARE(named, there);
    // What the page asks for is what the command takes.
    const QJsonObject page = description.value("pages").toArray().at(0).toObject();
    QCOMPARE(page.value("typeId").toString(), QString("Project"));
    QCOMPARE(page.value("data").toObject().value("projectNameValidator").toString(),
             QString("^[A-Za-z][A-Za-z0-9_]*$"));
}

void MivoHostNewTest::theWizardMakesTheSameProject_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("pluginClass");
    QTest::addColumn<QString>("guard");
    QTest::newRow("small") << "reminder"
                           << "ReminderPlugin"
                           << "REMINDERPLUGIN";
    QTest::newRow("mixed") << "teaTime_2"
                           << "TeaTime_2Plugin"
                           << "TEATIME_2PLUGIN";
    QTest::newRow("one letter") << "T"
                                << "TPlugin"
                                << "TPLUGIN";
}

void MivoHostNewTest::theWizardMakesTheSameProject()
{
    QFETCH(QString, name);
    QFETCH(QString, pluginClass);
    QFETCH(QString, guard);
    // What the expressions of the wizard, which only Qt Creator evaluates, come to.
    const QHash<QString, QString> values
        = {{"%{ProjectDirectory}/CMakeLists.txt", "/CMakeLists.txt"},
           {"%{ProjectName}", name},
           {"%{JS: value('ProjectName').charAt(0).toUpperCase() + value('ProjectName').slice(1) + "
            "'Plugin'}",
            pluginClass},
           {"%{JS: value('ProjectName').toUpperCase() + 'PLUGIN'}", guard}};
    const QJsonObject description = wizard();
    QHash<QString, QString> variables = {{"ProjectDirectory", QString()}};
    const QJsonArray options = description.value("options").toArray();
    for (const QJsonValue& value : options) {
        const QJsonObject option = value.toObject();
        const QString expression = option.value("value").toString();
        QVERIFY2(values.contains(expression), qPrintable(expression));
        variables.insert(option.value("key").toString(), values.value(expression));
    }
    const auto expanded = [&](QString text) {
        for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
            text.replace("%{" + variable.key() + '}', variable.value());
        return text;
    };

    const QTemporaryDir folder;
    QCOMPARE(mivoHost({"new", name, "--dir", folder.path()}).status, 0);
    const QString project = folder.filePath(name);
    const QJsonArray files = filesOf(description);
    QCOMPARE(entriesOf(project).size(), files.size());
    for (const QJsonValue& value : files) {
        const QJsonObject file = value.toObject();
        const QString source = QString(TEMPLATE) + '/' + file.value("source").toString();
        QCOMPARE(contentOf(project + expanded(file.value("target").toString())),
                 expanded(QString::fromUtf8(contentOf(source))).toUtf8());
    }
}

QTEST_GUILESS_MAIN(MivoHostNewTest)
#include "tst_mivohost_new.moc"
