#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPluginLoader.h>

#include "MivoHostCommand.h"

namespace {

QString fileOf(const QString& name)
{
    return QString(REQUIRING "/%1.so").arg(name);
}

QStringList namesOf(const QList<MivoPlugin*>& plugins)
{
    QStringList names;
    for (const MivoPlugin* plugin : plugins)
        names.append(plugin->name());
    return names;
}

QString lost(const QString& file, const QString& requirements)
{
    return fileOf(file) + ": found a plug-in that requires " + requirements
        + ", which is not loaded; needed: that plug-in, before or together with this one";
}

QString ring(const QString& file, const QString& way)
{
    return fileOf(file) + ": found plug-ins that require each other (" + way
        + "); needed: one of them that can be loaded first";
}

} // namespace

class MivoPluginOrderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theStampSaysWhoThePluginIs();
    void pluginsAreLoadedBehindWhatTheyRequire();
    void theOrderGivenStaysAsFarAsItCan();
    void whatIsLoadedBeforeCounts();
    void whatIsMissingOrCircularIsRefused_data();
    void whatIsMissingOrCircularIsRefused();
    void aFolderIsLoadedInOrder();
    void aFolderThatIsNotThereIsSaid();
    void aSingleFileIsLoadedAsItIs();
    void theCommandShowsWhatTheStampSays();
};

void MivoPluginOrderTest::theStampSaysWhoThePluginIs()
{
    MivoPluginLoader loader(fileOf("chain_a"));
    const MivoPluginStamp stamp = loader.stamp();
    QCOMPARE(stamp.misfit(), QString());
    QCOMPARE(stamp.name(), QString("chain_a"));
    QCOMPARE(stamp.title(), QString("The \"first\" \\ of a chain; 1%"));
    QCOMPARE(stamp.description(), QString::fromUtf8("Needs another \xe2\x80\x93 and says so"));
    QCOMPARE(stamp.author(), QString("Ann <ann@example.org>"));
    QCOMPARE(stamp.requirements(), QStringList({"chain_b", "chain_c"}));

    const MivoPluginStamp plain = MivoPluginLoader(fileOf("chain_b")).stamp();
    QCOMPARE(plain.name(), QString("chain_b"));
    QCOMPARE(plain.title(), QString());
    QCOMPARE(plain.description(), QString());
    QCOMPARE(plain.author(), QString());
    QCOMPARE(plain.requirements(), QStringList("chain_c"));

    // The same in the text that stands in a shared object.
    const MivoPluginStamp text = MivoPluginStamp::fromText(FIXTURES "/textstamp.so");
    QCOMPARE(text.misfit(), QString());
    QCOMPARE(text.name(), QString("textstamp"));
    QCOMPARE(text.title(), QString("A \"text\" \\ in a file; 1%"));
    QCOMPARE(text.requirements(), QStringList({"chain_b", "chain_c"}));

    MivoHost host;
    const MivoPlugin* const plugin = host.load(fileOf("chain_b"));
    QCOMPARE(host.stampOf(plugin).name(), QString("chain_b"));
    QCOMPARE(host.stampOf(nullptr).name(), QString());
}

void MivoPluginOrderTest::pluginsAreLoadedBehindWhatTheyRequire()
{
    MivoHost host;
    QStringList refused("from before");
    const QList<MivoPlugin*> loaded
        = host.loadAll({fileOf("chain_a"), fileOf("chain_b"), fileOf("chain_c")}, &refused);
    QCOMPARE(namesOf(loaded), QStringList({"chain_c", "chain_b", "chain_a"}));
    QCOMPARE(host.plugins(), loaded);
    QCOMPARE(refused, QStringList());
}

void MivoPluginOrderTest::theOrderGivenStaysAsFarAsItCan()
{
    MivoHost host;
    QCOMPARE(
        namesOf(host.loadAll({ECHO_PLUGIN, fileOf("chain_b"), fileOf("alone"), fileOf("chain_c")})),
        QStringList({"echo", "alone", "chain_c", "chain_b"}));
}

void MivoPluginOrderTest::whatIsLoadedBeforeCounts()
{
    MivoHost host;
    QVERIFY(host.load(fileOf("chain_c")));
    QStringList refused;
    QCOMPARE(namesOf(host.loadAll({fileOf("chain_b")}, &refused)), QStringList("chain_b"));
    QCOMPARE(refused, QStringList());
}

void MivoPluginOrderTest::whatIsMissingOrCircularIsRefused_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("loaded");
    QTest::addColumn<QStringList>("refused");
    QTest::newRow("missing") << QStringList({"chain_b", "alone"}) << QStringList("alone")
                             << QStringList(lost("chain_b", "\"chain_c\""));
    QTest::newRow("missing further on")
        << QStringList({"chain_a", "chain_b"}) << QStringList()
        << QStringList({lost("chain_a", "\"chain_b\", which requires \"chain_c\""),
                        lost("chain_b", "\"chain_c\"")});
    QTest::newRow("circular") << QStringList({"ring_a", "alone", "ring_b"}) << QStringList("alone")
                              << QStringList(
                                     {ring("ring_a", "ring_a requires ring_b requires ring_a"),
                                      ring("ring_b", "ring_b requires ring_a requires ring_b")});
    QTest::newRow("itself") << QStringList("self") << QStringList()
                            << QStringList(ring("self", "self requires self"));
    QTest::newRow("what is refused itself") << QStringList({"chain_b", "nothing"}) << QStringList()
                                            << QStringList({"", lost("chain_b", "\"chain_c\"")});
}

void MivoPluginOrderTest::whatIsMissingOrCircularIsRefused()
{
    QFETCH(QStringList, files);
    QFETCH(QStringList, loaded);
    QFETCH(QStringList, refused);
    for (QString& file : files)
        file = fileOf(file);
    MivoHost host;
    QStringList sentences;
    QCOMPARE(namesOf(host.loadAll(files, &sentences)), loaded);
    if (refused.first().isEmpty()) { // what load() says of it is checked elsewhere
        QVERIFY(sentences.first().startsWith(fileOf("nothing") + ": found no such file"));
        sentences[0].clear();
    }
    QCOMPARE(sentences, refused);
}

void MivoPluginOrderTest::aFolderIsLoadedInOrder()
{
    MivoHost host;
    QStringList refused;
    QCOMPARE(namesOf(host.loadFolder(REQUIRING, &refused)),
             QStringList({"alone", "chain_c", "chain_b", "chain_a"}));
    QCOMPARE(refused.size(), 3);
}

void MivoPluginOrderTest::aFolderThatIsNotThereIsSaid()
{
    MivoHost host;
    QStringList refused;
    QVERIFY(host.loadFolder(REQUIRING "/nowhere", &refused).isEmpty());
    QCOMPARE(refused,
             QStringList(REQUIRING "/nowhere: found no folder; needed: one that holds plug-ins"));
}

void MivoPluginOrderTest::aSingleFileIsLoadedAsItIs()
{
    MivoHost host;
    QVERIFY(host.load(fileOf("chain_a")));
}

void MivoPluginOrderTest::theCommandShowsWhatTheStampSays()
{
    const Outcome full = mivoHost({"plugins", fileOf("chain_a")});
    QCOMPARE(full.status, 0);
    QCOMPARE(full.out,
             fileOf("chain_a")
                 + QString::fromUtf8(": chain_a\n"
                                     "  title:   The \"first\" \\ of a chain; 1%\n"
                                     "  about:   Needs another \xe2\x80\x93 and says so\n"
                                     "  author:  Ann <ann@example.org>\n"
                                     "  requires: chain_b, chain_c\n"
                                     "  calls:   none\n"
                                     "  actions: none\n"));
    const Outcome none = mivoHost({"plugins", fileOf("alone")});
    QCOMPARE(none.out, fileOf("alone") + ": alone\n  calls:   none\n  actions: none\n");
}

QTEST_GUILESS_MAIN(MivoPluginOrderTest)
#include "tst_mivopluginorder.moc"
