#include <MivoPlugin.h>
#include <MivoPluginLoader.h>

#include <QtTest>

class MivoPluginLoaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aFileThatDoesNotFitIsRefusedWithOneSentence_data();
    void aFileThatDoesNotFitIsRefusedWithOneSentence();
    void aStampedPluginIsLoadedOnce();
    void anUnloadedPluginCanBeLoadedAgain();
    void anErrorIsForgottenByTheNextLoad();

private:
    QTemporaryDir folder;
};

void MivoPluginLoaderTest::initTestCase()
{
    QFile text(folder.filePath("text.so"));
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.write("not a shared object\n");
    QFile empty(folder.filePath("empty.so"));
    QVERIFY(empty.open(QIODevice::WriteOnly));
    QFile truncated(folder.filePath("truncated.so"));
    QVERIFY(truncated.open(QIODevice::WriteOnly));
    QFile whole(ECHO_PLUGIN);
    QVERIFY(whole.open(QIODevice::ReadOnly));
    truncated.write(whole.read(1000));
}

void MivoPluginLoaderTest::aFileThatDoesNotFitIsRefusedWithOneSentence_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("found");

    const QString fixtures = QString(FIXTURES) + '/';
    QTest::newRow("no such file") << folder.filePath("missing.so") << "no such file";
    QTest::newRow("a folder") << folder.path() << "a folder";
    QTest::newRow("a text file") << folder.filePath("text.so") << "a file that is no shared object";
    QTest::newRow("an empty file")
        << folder.filePath("empty.so") << "a file that is no shared object";
    QTest::newRow("the first 1000 bytes of a plug-in")
        << folder.filePath("truncated.so") << "a shared object that is no Qt plug-in";
    QTest::newRow("a shared object that is no plug-in") << fixtures + "noplugin.so"
                                                        << "a shared object that is no Qt plug-in";
    QTest::newRow("another program's plug-in")
        << fixtures + "foreign.so"
        << "a plug-in of another program (\"SomethingElse/3\")";
    QTest::newRow("no stamp") << fixtures + "unstamped.so"
                              << "a plug-in without a stamp";
    QTest::newRow("another interface") << fixtures + "otherinterface.so"
                                       << "a plug-in for interface 99";
    QTest::newRow("another Qt") << fixtures + "otherqt.so"
                                << QString("a plug-in for Qt %1").arg(11 - QT_VERSION_MAJOR);
    QTest::newRow("another compiler") << fixtures + "otherabi.so"
                                      << "a plug-in for compiler ABI alien-16";
    QTest::newRow("another library") << fixtures + "otherlibrary.so"
                                     << "a plug-in for libmivo_data 99.0.0";
    QTest::newRow("an undefined symbol") << fixtures + "undefinedsymbol.so"
                                         << "a plug-in that cannot be loaded (";
    QTest::newRow("another root object")
        << fixtures + "wrongroot.so"
        << "a plug-in whose root object is a WrongRootPlugin and no MivoPlugin";
}

void MivoPluginLoaderTest::aFileThatDoesNotFitIsRefusedWithOneSentence()
{
    QFETCH(QString, file);
    QFETCH(QString, found);

    MivoPluginLoader loader(file);
    QVERIFY(!loader.load());
    const QString needed
        = QString("; needed: a plug-in made by mivo_add_plugin() for libmivo_data 0.x, "
                  "plug-in interface 1, Qt %1 and compiler ABI itanium-64")
              .arg(QT_VERSION_MAJOR);
    if (found.endsWith('(')) {
        QVERIFY2(loader.errorString().startsWith(file + ": found " + found),
                 qPrintable(loader.errorString()));
        QVERIFY2(loader.errorString().contains("nobodyDefinesThis"),
                 qPrintable(loader.errorString()));
        QVERIFY2(loader.errorString().endsWith(needed), qPrintable(loader.errorString()));
    } else {
        QCOMPARE(loader.errorString(), file + ": found " + found + needed);
    }
    QVERIFY(!loader.errorString().contains('\n'));
    QCOMPARE(loader.fileName(), file);
}

void MivoPluginLoaderTest::aStampedPluginIsLoadedOnce()
{
    MivoPluginLoader loader(ECHO_PLUGIN);
    MivoPlugin* const plugin = loader.load();
    QVERIFY2(plugin, qPrintable(loader.errorString()));
    QCOMPARE(plugin->name(), QString("echo"));
    QCOMPARE(plugin->version(), QString("0.1.0"));
    QCOMPARE(plugin->callSlots(),
             QStringList({"echo", "sum", "takeLong", "fail", "startTimer", "firedTimers", "thread",
                          "recorded"}));
    QCOMPARE(plugin->actionSlots(), QStringList({"record", "failLater"}));
    QCOMPARE(loader.load(), plugin);
    QCOMPARE(loader.errorString(), QString());
    QVERIFY(loader.unload());
}

void MivoPluginLoaderTest::anUnloadedPluginCanBeLoadedAgain()
{
    {
        MivoPluginLoader loader(ECHO_PLUGIN);
        const QPointer<MivoPlugin> plugin = loader.load();
        QVERIFY(plugin);
        QVERIFY(loader.unload());
        QVERIFY(!plugin);
    }
    MivoPluginLoader again(ECHO_PLUGIN);
    QVERIFY(again.load());
    QVERIFY(again.unload());
}

void MivoPluginLoaderTest::anErrorIsForgottenByTheNextLoad()
{
    const QString file = folder.filePath("late.so");
    MivoPluginLoader loader(file);
    QVERIFY(!loader.load());
    QVERIFY(!loader.errorString().isEmpty());
    QVERIFY(QFile::copy(ECHO_PLUGIN, file));
    QVERIFY2(loader.load(), qPrintable(loader.errorString()));
    QCOMPARE(loader.errorString(), QString());
    QVERIFY(loader.unload());
}

QTEST_GUILESS_MAIN(MivoPluginLoaderTest)
#include "tst_mivopluginloader.moc"
