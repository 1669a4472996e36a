#include <MivoPlugin.h>
#include <MivoPluginLoader.h>

#include <QtTest>

#include <sys/stat.h>

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

    // A plug-in of another machine differs in its header alone.
    QVERIFY(whole.seek(0));
    const QByteArray plugin = whole.readAll();
    const auto writeWith = [&](const char* name, int at, const QByteArray& bytes) {
        QByteArray changed = plugin;
        changed.replace(at, bytes.size(), bytes);
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(changed);
    };
    // Where e_type and e_machine stand.
    writeWith("mips.so", 18, QByteArray("\x08\x00", 2));
    writeWith("machine9999.so", 18, QByteArray("\x0f\x27", 2));
    writeWith("bits32.so", 4, QByteArray("\x01", 1));
    writeWith("relocatable.so", 16, QByteArray("\x01\x00", 2));
    writeWith("bigendian.so", 5,
              QByteArray("\x02", 1) + plugin.mid(6, 10) + QByteArray("\x00\x03\x00\x08", 4));

    QCOMPARE(mkfifo(qPrintable(folder.filePath("fifo.so")), 0600), 0);
}

void MivoPluginLoaderTest::aFileThatDoesNotFitIsRefusedWithOneSentence_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("found");

    const QString fixtures = QString(FIXTURES) + '/';
    const QString noMetaData
        = "a shared object that is no Qt plug-in: no class in it has Q_PLUGIN_METADATA";
    QTest::newRow("no such file") << folder.filePath("missing.so") << "no such file";
    QTest::newRow("a folder") << folder.path() << "a folder";
    QTest::newRow("a text file") << folder.filePath("text.so") << "a file that is no shared object";
    QTest::newRow("an empty file")
        << folder.filePath("empty.so") << "a file that is no shared object";
    QTest::newRow("the first 1000 bytes of a plug-in")
        << folder.filePath("truncated.so") << noMetaData;
    QTest::newRow("a shared object that is no plug-in") << fixtures + "noplugin.so" << noMetaData;
    // It would block for ever who opens it.
    QTest::newRow("a FIFO") << folder.filePath("fifo.so")
                            << "a FIFO, a socket or a device, and no file";
    QTest::newRow("a device") << "/dev/null"
                              << "a FIFO, a socket or a device, and no file";
    QTest::newRow("a relocatable object")
        << folder.filePath("relocatable.so") << "a file that is no shared object";
    QTest::newRow("for another machine")
        << folder.filePath("mips.so")
        << "a shared object for another architecture (MIPS, 64 bits, low byte first) than this "
           "one (";
    QTest::newRow("for a machine without a name")
        << folder.filePath("machine9999.so")
        << "a shared object for another architecture (machine 9999, 64 bits, low byte first) than "
           "this one (";
    QTest::newRow("for another width")
        << folder.filePath("bits32.so") << "a shared object for another architecture (";
    QTest::newRow("for another byte order")
        << folder.filePath("bigendian.so")
        << "a shared object for another architecture (MIPS, 64 bits, high byte first) than this "
           "one (";
    QTest::newRow("a stamp of other types") << fixtures + "brokenstamp.so"
                                            << "a plug-in whose stamp is broken (interface: 1.4)";
    QTest::newRow("throws in the constructor")
        << fixtures + "throwsinconstructor.so"
        << "a plug-in whose constructor fails: an exception that is no std::exception";
    for (const char* place : {"name", "version", "services"})
        QTest::newRow(qPrintable(QString("throws in ") + place)) << fixtures + "throwsin" + place
                + ".so" << QString("a plug-in whose %1() fails: no luck").arg(place);
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
                  "plug-in interface 2, Qt %1 and compiler ABI itanium-64")
              .arg(QT_VERSION_MAJOR);
    if (found.endsWith('(')) {
        QVERIFY2(loader.errorString().startsWith(file + ": found " + found),
                 qPrintable(loader.errorString()));
        QVERIFY2(!file.contains("undefined") || loader.errorString().contains("nobodyDefinesThis"),
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
