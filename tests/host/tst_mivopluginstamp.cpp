#include <MivoPlugin.h>
#include <MivoPluginStamp.h>

#include <QtTest>

namespace {

/** The fields of a good stamp, as they stand in JSON. */
typedef QMap<QString, QString> Fields;

/** The number of the interface, as it stands at the end of the IID. */
const QString number = QString(MivoPlugin_iid).section('/', 1);

Fields goodFields()
{
    return {{"library", "\"0.1.0\""},
            {"interface", number},
            {"qt", QString::number(QT_VERSION_MAJOR)},
            {"abi", "\"itanium-64\""}};
}

/** What a QPluginLoader answers for a plug-in with this stamp. */
QVariantMap metaData(const Fields& fields, const QString& iid = MivoPlugin_iid)
{
    QStringList members;
    for (auto field = fields.begin(); field != fields.end(); ++field)
        members.append(QString("\"%1\": %2").arg(field.key(), field.value()));
    const QString json = QString("{ \"IID\": \"%1\", \"MetaData\": { \"mivo\": { %2 } } }")
                             .arg(iid, members.join(", "));
    return QJsonDocument::fromJson(json.toUtf8()).object().toVariantMap();
}

QByteArray mark()
{
    return "\nmivo plug-in stamp\n";
}

QByteArray goodText()
{
    return "iid=" MivoPlugin_iid "\nlibrary=0.1.0\ninterface=" + number.toLatin1()
        + "\nqt=" + QByteArray::number(QT_VERSION_MAJOR) + "\nabi=itanium-64\n";
}

} // namespace

class MivoPluginStampTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGoodStampFits();
    void aFieldOfAnotherTypeOrShapeNeverFits_data();
    void aFieldOfAnotherTypeOrShapeNeverFits();
    void anInterfaceNameOfAnotherNumberNeverFits();
    void noStampNeverFits();
    void aTextInASharedObjectIsFound();
    void aTextFitsOnlyAsItIsWritten_data();
    void aTextFitsOnlyAsItIsWritten();
    void aCopyFitsAsWell();

private:
    QString write(const QByteArray& content);

    QTemporaryDir folder;
};

QString MivoPluginStampTest::write(const QByteArray& content)
{
    QFile file(folder.filePath("stamp.so"));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("the file cannot be written");
    return file.fileName();
}

void MivoPluginStampTest::aGoodStampFits()
{
    QCOMPARE(MivoPluginStamp::fromMetaData(metaData(goodFields())).misfit(), QString());
    Fields later = goodFields();
    later["library"] = "\"0.99.3\"";
    later["something"] = "[1, 2]";
    QCOMPARE(MivoPluginStamp::fromMetaData(metaData(later)).misfit(), QString());
}

void MivoPluginStampTest::aFieldOfAnotherTypeOrShapeNeverFits_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("misfit");

    for (const char* field : {"library", "interface", "qt", "abi"}) {
        const QString broken = QString("a plug-in whose stamp is broken (%1: %2)").arg(field);
        const auto row = [&](const QString& value, const QString& shown) {
            QTest::newRow(qPrintable(QString("%1: %2").arg(field, value)))
                << field << value << broken.arg(shown);
        };
        row("", "none");
        row("\"\"", "\"\"");
        row("null", "null, or no single value");
        row("true", "true");
        row("[1]", "null, or no single value");
        row("{\"a\": 1}", "null, or no single value");
        row("1.4", "1.4");
    }
    for (const char* field : {"interface", "qt"}) {
        const QString broken = QString("a plug-in whose stamp is broken (%1: %2)").arg(field);
        for (const char* value : {"\"garbage\"", "\"1\"", "\"6\"", "-1"})
            QTest::newRow(qPrintable(QString("%1: %2").arg(field, value)))
                << field << value << broken.arg(value);
        // The low half of it is 1.
        QTest::newRow(qPrintable(QString("%1: 2^32 + 1").arg(field)))
            << field << "4294967297" << broken.arg("4294967297");
    }
    for (const char* value : {"\"garbage\"", "\"0\"", "\"0.1\"", "\"0garbage.1.0\"", "\"0.1.0.0\"",
                              "\"0.1.\"", "\"0..0\"", "\"-0.1.0\"", "\" 0.1.0\"", "0"})
        QTest::newRow(qPrintable(QString("library: %1").arg(value)))
            << "library" << value
            << QString("a plug-in whose stamp is broken (library: %1)").arg(value);

    QTest::newRow("another interface") << "interface"
                                       << "99"
                                       << "a plug-in for interface 99";
    QTest::newRow("another Qt") << "qt"
                                << "3"
                                << "a plug-in for Qt 3";
    QTest::newRow("another compiler") << "abi"
                                      << "\"garbage\""
                                      << "a plug-in for compiler ABI garbage";
    QTest::newRow("another library") << "library"
                                     << "\"1.0.0\""
                                     << "a plug-in for libmivo_data 1.0.0";
}

void MivoPluginStampTest::aFieldOfAnotherTypeOrShapeNeverFits()
{
    QFETCH(QString, field);
    QFETCH(QString, value);
    QFETCH(QString, misfit);
    Fields fields = goodFields();
    if (value.isEmpty())
        fields.remove(field);
    else
        fields[field] = value;
    QCOMPARE(MivoPluginStamp::fromMetaData(metaData(fields)).misfit(), misfit);
}

void MivoPluginStampTest::anInterfaceNameOfAnotherNumberNeverFits()
{
    const auto misfit = [](const QString& iid) {
        return MivoPluginStamp::fromMetaData(metaData(goodFields(), iid)).misfit();
    };
    for (const char* iid : {"MivoPlugin/99", "MivoPlugin/", MivoPlugin_iid "1", MivoPlugin_iid " "})
        QCOMPARE(misfit(iid),
                 QString("a plug-in whose IID \"%1\" is not that of its stamp's interface %2")
                     .arg(iid, number));
    QCOMPARE(misfit("Other/1"), QString("a plug-in of another program (\"Other/1\")"));
    QCOMPARE(misfit(""), QString("a plug-in of another program (\"\")"));
}

void MivoPluginStampTest::noStampNeverFits()
{
    QCOMPARE(MivoPluginStamp().misfit(), QString("a plug-in without a stamp"));
    QCOMPARE(MivoPluginStamp::fromMetaData(metaData({})).misfit(),
             QString("a plug-in without a stamp"));
    QCOMPARE(MivoPluginStamp::fromMetaData({}).misfit(),
             QString("a shared object that is no Qt plug-in: no class in it has "
                     "Q_PLUGIN_METADATA"));
    QCOMPARE(MivoPluginStamp::fromText(FIXTURES "/noplugin.so").misfit(),
             QString("a plug-in without a stamp"));
    QVERIFY(MivoPluginStamp::fromText(folder.filePath("missing.so"))
                .misfit()
                .startsWith("a file that cannot be read ("));
}

void MivoPluginStampTest::aTextInASharedObjectIsFound()
{
    QCOMPARE(MivoPluginStamp::fromText(FIXTURES "/textstamp.so").misfit(), QString());
    // Nothing else in the folder has one, this library's own mark included.
    QCOMPARE(MivoPluginStamp::fromText(ECHO_PLUGIN).misfit(), QString("a plug-in without a stamp"));
    QCOMPARE(MivoPluginStamp::fromText(HOST_LIBRARY).misfit(),
             QString("a plug-in without a stamp"));
}

void MivoPluginStampTest::aTextFitsOnlyAsItIsWritten_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("misfit");

    const QByteArray zero(1, '\0');
    const QByteArray good = mark() + goodText() + zero;
    const auto with = [&](const QByteArray& from, const char* to) {
        return QByteArray(good).replace(from, to);
    };
    const QByteArray interface = "interface=" + number.toLatin1();
    const QString none = "a plug-in without a stamp";
    QTest::newRow("alone") << good << "";
    QTest::newRow("after much else") << QByteArray(3000000, 'x') + good + "\x7f and more"
                                     << "";
    QTest::newRow("after a mark alone") << mark() + zero + good << "";
    QTest::newRow("twice") << good + good << "a plug-in with 2 stamps";
    QTest::newRow("empty") << QByteArray() << none;
    QTest::newRow("without its end") << mark() + goodText() << none;
    QTest::newRow("without its mark") << goodText() + zero << none;
    QTest::newRow("cut off") << good.left(good.size() / 2) << none;
    QTest::newRow("a field twice")
        << with("qt=", "abi=x\nqt=") << "a plug-in whose stamp is broken (abi stands twice)";
    QTest::newRow("a number with a sign")
        << with(interface, "interface=+1") << "a plug-in whose stamp is broken (interface: \"+1\")";
    QTest::newRow("a number with more") << with(interface, "interface=1.4")
                                        << "a plug-in whose stamp is broken (interface: \"1.4\")";
    QTest::newRow("too large a number")
        << with(interface, "interface=4294967297")
        << "a plug-in whose stamp is broken (interface: \"4294967297\")";
    QTest::newRow("without a value")
        << with("abi=itanium-64", "abi=") << "a plug-in whose stamp is broken (abi: \"\")";
    QTest::newRow("without a field")
        << with("abi=itanium-64\n", "") << "a plug-in whose stamp is broken (abi: none)";
    QTest::newRow("another interface")
        << with(interface, "interface=99") << "a plug-in for interface 99";
    QTest::newRow("another IID")
        << with(MivoPlugin_iid, "MivoPlugin/99")
        << "a plug-in whose IID \"MivoPlugin/99\" is not that of its stamp's interface " + number;
}

void MivoPluginStampTest::aTextFitsOnlyAsItIsWritten()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, misfit);
    QCOMPARE(MivoPluginStamp::fromText(write(content)).misfit(), misfit);
}

void MivoPluginStampTest::aCopyFitsAsWell()
{
    const MivoPluginStamp stamp = MivoPluginStamp::fromMetaData(metaData(goodFields()));
    MivoPluginStamp assigned;
    assigned = stamp;
    QCOMPARE(assigned.misfit(), QString());
    MivoPluginStamp moved(std::move(assigned));
    QCOMPARE(moved.misfit(), QString());
    MivoPluginStamp other;
    other = std::move(moved);
    QCOMPARE(other.misfit(), QString());
    QCOMPARE(MivoPluginStamp(other).misfit(), QString());
}

QTEST_GUILESS_MAIN(MivoPluginStampTest)
#include "tst_mivopluginstamp.moc"
