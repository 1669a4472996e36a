#include <MivoBuddyContact.h>
#include <MivoBuddyType.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPresence.h>
#include <MivoSecret.h>
#include <MivoSubscriptionType.h>
#include <MivoXmlNode.h>

#include "KeptLog.h"
#include "TestThreads.h"

#include <QtTest>

#include <functional>
#include <memory>

#include <sys/stat.h>

namespace {

QString messageOf(const std::function<void()>& piece)
{
    try {
        piece();
    } catch (const MivoHostError& error) {
        return error.message();
    }
    return QString("no exception");
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

int modeOf(const QString& file)
{
    struct stat status;
    return ::stat(qPrintable(file), &status) == 0 ? int(status.st_mode & 07777) : -1;
}

QByteArray contentOf(const QString& file)
{
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
}

void writeFile(const QString& file, const QByteArray& content)
{
    QFile opened(file);
    if (!opened.open(QIODevice::WriteOnly) || opened.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(file));
}

} // namespace

/** Has a name and a password, and refuses the name "nobody". */
class AccountPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    explicit AccountPlugin(const QString& pluginName = "account")
        : ownName(pluginName)
    {
    }
    QString name() const override { return ownName; }
    bool initialise(MivoHost&) override
    {
        events.append("initialised");
        return true;
    }
    QList<MivoField> fields() const override
    {
        return {MivoField(MivoField::LineEdit, "Name", "name", user, 32, ""),
                MivoField(MivoSecretField, "Password", "password", password, 32, "")};
    }
    QString applyFields(const QList<MivoField>& fields) override
    {
        events.append("applied in " + QThread::currentThread()->objectName());
        if (fields.at(0).getText() == "nobody")
            return "there is no such user";
        if (fields.at(0).getText() == "trouble")
            throw std::runtime_error("out of ink");
        user = fields.at(0).getText().toLower();
        password = fields.at(1).getText();
        return QString();
    }

public Q_SLOTS:
    void whatHappened(MivoPlugin*, QList<MivoArg>& arguments)
    {
        events.append("called");
        arguments = {MivoArg(events)};
    }

private:
    const QString ownName;
    QString user = "ann";
    QString password;
    QStringList events;
};

class ShowPlugin : public MivoPlugin
{
    Q_OBJECT
public:
    QList<MivoField> fields() const override { return {MivoField("A text", "text", "")}; }
};

class MivoHostSettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void theUsersChoiceReachesThePlugin();
    void thePluginMayRefuseWithASentence_data();
    void thePluginMayRefuseWithASentence();
    void aFormIsForShowByDefault();
    void aPluginTellsOfChangesAcrossThreads();
    void aFormIsKeptFromOneRunToTheNext();
    void keptSettingsAreThereBeforeAnyCall();
    void itsOwnerAloneMayReadWhatIsKept();
    void secretsAreKeptOnlyWhenAskedFor();
    void aBrokenFileIsSetAsideAndNeverOverwritten_data();
    void aBrokenFileIsSetAsideAndNeverOverwritten();
    void aRefusedFileStays();
    void whatCannotBeKeptIsSaid();
    void everyNameOfAPluginMakesAFileOfItsOwn();

private:
    AccountPlugin* start(const QString& pluginName = "account",
                         MivoHost::KeptSecrets secrets = MivoHost::WithoutSecrets);
    QList<MivoField> changed(const QString& user, const QString& password = "hush");
    QString kept(const QString& name) { return settings + '/' + name; }

    std::unique_ptr<QTemporaryDir> folder;
    QString settings;
    std::unique_ptr<MivoHost> host;
    AccountPlugin* plugin = nullptr;
};

void MivoHostSettingsTest::init()
{
    KeptLog::start();
    folder.reset(new QTemporaryDir);
    settings = folder->filePath("settings");
}

void MivoHostSettingsTest::cleanup()
{
    host.reset();
    folder.reset();
    KeptLog::take();
}

/** A new run of the host, with one plug-in. */
AccountPlugin* MivoHostSettingsTest::start(const QString& pluginName, MivoHost::KeptSecrets secrets)
{
    host.reset();
    host.reset(new MivoHost);
    host->setSettingsFolder(settings, secrets);
    plugin = new AccountPlugin(pluginName);
    host->add(plugin);
    if (!host->start())
        qFatal("the host does not start");
    return plugin;
}

QList<MivoField> MivoHostSettingsTest::changed(const QString& user, const QString& password)
{
    QList<MivoField> fields = host->fields(plugin);
    fields[0].setText(user);
    fields[1].setText(password);
    return fields;
}

void MivoHostSettingsTest::theUsersChoiceReachesThePlugin()
{
    start();
    const QList<MivoField> shown = host->applyFields(plugin, changed("Bob"));
    QCOMPARE(shown.at(0).getText(), QString("bob")); // as the plug-in has it now
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("bob"));
    QVERIFY(host->call(plugin, "whatHappened", {})
                .first()
                .toStringList()
                .contains("applied in account"));
}

void MivoHostSettingsTest::thePluginMayRefuseWithASentence_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("by a sentence") << "nobody"
                                   << "there is no such user";
    QTest::newRow("by throwing") << "trouble"
                                 << "out of ink";
}

void MivoHostSettingsTest::thePluginMayRefuseWithASentence()
{
    QFETCH(QString, user);
    QFETCH(QString, sentence);
    start();
    QCOMPARE(messageOf([&] { host->applyFields(plugin, changed(user)); }),
             "account does not take the values over: " + sentence);
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("ann"));
    QVERIFY(filesIn(settings).isEmpty());
    QCOMPARE(messageOf([&] { host->applyFields(nullptr, {}); }),
             QString("found null; expected one of the host's plug-ins"));
}

void MivoHostSettingsTest::aFormIsForShowByDefault()
{
    MivoHost shown;
    auto* const show = new ShowPlugin;
    shown.add(show);
    QVERIFY(shown.start());
    QCOMPARE(messageOf([&] { shown.applyFields(show, shown.fields(show)); }),
             QString("ShowPlugin does not take the values over: its form is for show and takes no "
                     "values"));
}

void MivoHostSettingsTest::aPluginTellsOfChangesAcrossThreads()
{
    start();
    int lists = 0;
    int forms = 0;
    QList<MivoBuddy> changedEntries;
    // What is emitted elsewhere is queued to it, and the calls end with it.
    const QObject here; // clazy:excludeall=lambda-in-connect
    connect(plugin, &MivoPlugin::entriesChanged, &here,
            [&](const QList<MivoBuddy>& entries) { changedEntries = entries; });
    connect(plugin, &MivoPlugin::contactListChanged, &here, [&] { ++lists; });
    connect(plugin, &MivoPlugin::formChanged, &here, [&] { ++forms; });
    const MivoBuddyContact entry(nullptr, "ann", "Ann", MivoBuddyType(), MivoPresence(),
                                 MivoSubscriptionType("Both", "both", 1, ""));
    runInThread([&] {
        Q_EMIT plugin->entriesChanged({entry});
        Q_EMIT plugin->contactListChanged();
        Q_EMIT plugin->formChanged();
    });
    QCOMPARE(lists, 0);
    QTRY_COMPARE_WITH_TIMEOUT(forms, 1, testBoundMs);
    QCOMPARE(lists, 1);
    QCOMPARE(changedEntries.size(), 1);
    QVERIFY(changedEntries.first() == entry);
}

void MivoHostSettingsTest::aFormIsKeptFromOneRunToTheNext()
{
    start();
    QVERIFY(!QFileInfo::exists(settings)); // made when it is needed
    host->applyFields(plugin, changed("bob"));
    QCOMPARE(filesIn(settings), QStringList("account.xml"));
    start();
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("bob"));
    host->applyFields(plugin, changed("carol"));
    start();
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("carol"));
    QCOMPARE(filesIn(settings), QStringList("account.xml")); // nothing half-made is left
    QCOMPARE(KeptLog::take(), QStringList());
}

void MivoHostSettingsTest::keptSettingsAreThereBeforeAnyCall()
{
    start();
    host->applyFields(plugin, changed("bob"));
    start();
    QCOMPARE(host->call(plugin, "whatHappened", {}).first().toStringList(),
             QStringList({"initialised", "applied in account", "called"}));
}

void MivoHostSettingsTest::itsOwnerAloneMayReadWhatIsKept()
{
    start();
    const mode_t before = ::umask(0); // whatever that allows
    host->applyFields(plugin, changed("bob"));
    ::umask(before);
    QCOMPARE(modeOf(settings), 0700);
    QCOMPARE(modeOf(kept("account.xml")), 0600);
    QCOMPARE(::chmod(qPrintable(kept("account.xml")), 0644), 0);
    host->applyFields(plugin, changed("carol"));
    QCOMPARE(modeOf(kept("account.xml")), 0600);
}

void MivoHostSettingsTest::secretsAreKeptOnlyWhenAskedFor()
{
    start();
    host->applyFields(plugin, changed("bob", "hush"));
    QVERIFY(contentOf(kept("account.xml")).contains("bob"));
    QVERIFY(!contentOf(kept("account.xml")).contains("hush"));
    QVERIFY(!contentOf(kept("account.xml")).contains("password"));
    start();
    QCOMPARE(host->fields(plugin).at(1).getText(), QString());

    start("account", MivoHost::WithSecrets);
    host->applyFields(plugin, changed("bob", "hush"));
    start();
    QCOMPARE(host->fields(plugin).at(1).getText(), QString("hush"));
}

void MivoHostSettingsTest::aBrokenFileIsSetAsideAndNeverOverwritten_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no XML") << QByteArray("\x00\xff name", 7);
    QTest::newRow("cut off") << QByteArray("<fieldlist><field><id>name</id>");
    QTest::newRow("another element") << QByteArray("<roster/>");
}

void MivoHostSettingsTest::aBrokenFileIsSetAsideAndNeverOverwritten()
{
    QFETCH(QByteArray, content);
    QVERIFY(QDir().mkdir(settings));
    const QString file = kept("account.xml");
    for (const char* aside : {"account.xml.broken", "account.xml.broken-2"}) {
        writeFile(file, content);
        start();
        QCOMPARE(host->fields(plugin).at(0).getText(), QString("ann"));
        const QStringList log = KeptLog::take();
        QCOMPARE(log.size(), 1);
        QVERIFY2(log.first().startsWith("account: its settings in " + file + " cannot be read ("),
                 qPrintable(log.first()));
        QVERIFY2(log.first().endsWith("): they are kept as " + kept(aside)),
                 qPrintable(log.first()));
        QVERIFY(!QFileInfo::exists(file));
        host->applyFields(plugin, changed("bob"));
        QCOMPARE(contentOf(kept(aside)), content);
    }
    QCOMPARE(contentOf(kept("account.xml.broken")), content);
    start();
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("bob"));
}

void MivoHostSettingsTest::aRefusedFileStays()
{
    QVERIFY(QDir().mkdir(settings));
    const QByteArray content
        = MivoField::toXml({MivoField(MivoField::LineEdit, "Name", "name", "nobody", 32, "")})
              .toXml();
    writeFile(kept("account.xml"), content);
    start();
    QCOMPARE(KeptLog::take(),
             QStringList("account does not take its kept settings over: there is no such user"));
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("ann"));
    QCOMPARE(contentOf(kept("account.xml")), content);
}

void MivoHostSettingsTest::whatCannotBeKeptIsSaid()
{
    settings = folder->filePath("file");
    writeFile(settings, "in the way");
    start();
    const QString message = messageOf([&] { host->applyFields(plugin, changed("bob")); });
    QVERIFY2(message.startsWith("account has taken the values over, but they are not kept: "),
             qPrintable(message));
    QVERIFY2(message.contains(settings), qPrintable(message));
    QCOMPARE(host->fields(plugin).at(0).getText(), QString("bob"));
    QCOMPARE(contentOf(settings), QByteArray("in the way"));
}

void MivoHostSettingsTest::everyNameOfAPluginMakesAFileOfItsOwn()
{
    const QStringList names = {"../up", "a/b", QString::fromUtf8("\xc3\xa4"), "", "a b"};
    for (const QString& name : names) {
        start(name);
        host->applyFields(plugin, changed("user of " + name));
    }
    QCOMPARE(filesIn(settings),
             QStringList({"%C3%A4.xml", "..%2Fup.xml", ".xml", "a%20b.xml", "a%2Fb.xml"}));
    for (const QString& name : names) {
        start(name);
        QCOMPARE(host->fields(plugin).at(0).getText(), ("user of " + name).toLower());
    }
}

QTEST_GUILESS_MAIN(MivoHostSettingsTest)
#include "tst_mivohost_settings.moc"
