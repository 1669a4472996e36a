#include <MivoArg.h>
#include <MivoBuddyResourceType.h>
#include <MivoPlugin.h>
#include <MivoPluginLoader.h>

#include <QtTest>

#include <memory>
#include <utility>

#include <dlfcn.h>

/** @file
 * Values between plug-ins: what one has made outlives its code.
 */

namespace {

QString fixture(const char* name)
{
    return QString("%1/%2.so").arg(FIXTURES, name);
}

/** Whether code or data of @p file is in this process. */
bool isLoaded(const QString& file)
{
    QFile maps("/proc/self/maps");
    if (!maps.open(QIODevice::ReadOnly) || maps.readLine().isEmpty())
        qFatal("/proc/self/maps cannot be read");
    const bool isMapped = maps.readAll().contains(QFile::encodeName(file));
    void* const handle = dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return isMapped || handle;
}

/** Calls the slot @p name of @p plugin with @p arguments and answers what it leaves in them. */
QList<MivoArg> call(MivoPlugin* plugin, const char* name, QList<MivoArg> arguments)
{
    arguments.prepend(QString(name));
    plugin->callByName(nullptr, arguments);
    if (!arguments.takeFirst().toBool())
        qFatal("%s", qPrintable(arguments.value(0).toString()));
    return arguments;
}

} // namespace

class tst_PluginValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesOutliveThePluginThatMadeThem();
    void pluginsDefineNothingOfTheSharedTypes_data();
    void pluginsDefineNothingOfTheSharedTypes();
};

void tst_PluginValues::valuesOutliveThePluginThatMadeThem()
{
    QString text = QString("text").repeated(2);
    text.detach();
    QList<MivoArg> values;
    {
        MivoPluginLoader loader(fixture("maker"));
        MivoPlugin* const maker = loader.load();
        QVERIFY2(maker, qPrintable(loader.errorString()));
        values = call(maker, "make", QList<MivoArg>() << text);
        QVERIFY(isLoaded(loader.fileName()));
        QVERIFY(loader.unload());
        QVERIFY(!isLoaded(loader.fileName()));
    }
    QCOMPARE(values.size(), 27);
    QVERIFY(!text.isDetached());
    const std::unique_ptr<MivoBuddyResourceType> resourceType(
        static_cast<MivoBuddyResourceType*>(values.at(MivoArg::Pointer - 1).toPointer()));

    MivoPluginLoader loader(fixture("reader"));
    MivoPlugin* const reader = loader.load();
    QVERIFY2(reader, qPrintable(loader.errorString()));
    values.prepend(text);
    values = call(reader, "read", std::exchange(values, QList<MivoArg>()));
    QCOMPARE(values.value(0).toStringList(), QStringList());
    QVERIFY(loader.unload());
    QVERIFY(!isLoaded(loader.fileName()));

    // The values are gone, with every share of the text but that of the resource type.
    resourceType->icon = QString();
    QVERIFY(text.isDetached());
}

void tst_PluginValues::pluginsDefineNothingOfTheSharedTypes_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("echo") << QString(ECHO_PLUGIN);
    QTest::newRow("maker") << fixture("maker");
    QTest::newRow("reader") << fixture("reader");
}

void tst_PluginValues::pluginsDefineNothingOfTheSharedTypes()
{
    QFETCH(QString, file);
    if (QStandardPaths::findExecutable("nm").isEmpty())
        QSKIP("nm is not installed");
    const auto symbols = [&](const char* option) {
        QProcess nm;
        nm.start("nm", QStringList() << "-C" << option << file);
        if (!nm.waitForFinished() || nm.exitCode() != 0)
            qFatal("nm: %s", nm.readAllStandardError().constData());
        return QString::fromUtf8(nm.readAllStandardOutput()).split('\n');
    };

    // Nothing that another library could be bound to: a plug-in's code may go at any time.
    const QStringList exported = symbols("-D").filter(QRegularExpression("^[0-9a-f]+ . .*Mivo"));
    QCOMPARE(exported.join('\n'), QString());

    // And no copy of its own of what the libraries define.
    const QRegularExpression ofSharedTypes(
        "^[0-9a-f]+ . (vtable for |typeinfo for )?"
        "Mivo(Arg|Field|XmlNode|Buddy|BuddyContact|BuddyResource|BuddyType|Plugin|PluginAction|"
        "Presence|Service)(::|$)");
    QVERIFY(symbols("--defined-only").join('\n').contains("qt_plugin_instance"));
    QCOMPARE(symbols("--defined-only").filter(ofSharedTypes).join('\n'), QString());
}

QTEST_GUILESS_MAIN(tst_PluginValues)
#include "tst_pluginvalues.moc"
