#include "MivoXmlNode.h"

#include <QtTest>

#include <cstdlib>
#include <memory>

namespace {

/** An encoder for documents that are given as Latin-1. */
typedef QByteArray (*Encode)(const QByteArray& text);

/** In units of @p Size bytes. */
template <int Size, bool BigEndian, bool Marked>
QByteArray encodeWide(const QByteArray& text)
{
    QByteArray bytes;
    const auto append = [&bytes](uint code) {
        for (int i = 0; i < Size; ++i)
            bytes += char(uchar(code >> (8 * (BigEndian ? Size - 1 - i : i))));
    };
    if (Marked)
        append(0xfeff);
    for (const char c : text)
        append(uchar(c));
    return bytes;
}

QByteArray encodeUtf8(const QByteArray& text)
{
    return QString::fromLatin1(text).toUtf8();
}

QByteArray encodeMarkedUtf8(const QByteArray& text)
{
    return "\xef\xbb\xbf" + encodeUtf8(text);
}

QByteArray encodeLatin1(const QByteArray& text)
{
    return "<?xml version='1.0' encoding='iso-8859-1'?>" + text;
}

QByteArray manyAttributes(int count, const QByteArray& value = "")
{
    QByteArray attributes;
    for (int i = 0; i < count; ++i)
        attributes += " a" + QByteArray::number(i) + "='" + value + "'";
    return attributes;
}

const char* const tooManyAttributes
    = "found more than 1000 attributes in a start tag, expected at most that many";

/** The message of a refused document; null for one that is accepted. */
QString errorOf(const QByteArray& xml)
{
    QString error;
    const MivoXmlNode node = MivoXmlNode::parse(xml, &error);
    if (node.isNull() == error.isNull())
        qFatal("neither a document nor an error, or both");
    return error;
}

} // namespace

Q_DECLARE_METATYPE(Encode)

class tst_MivoXmlNodeLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void acceptsAtMost1000AttributesInEveryEncoding_data();
    void acceptsAtMost1000AttributesInEveryEncoding();
    void saysWhereAnAttributeIsOneTooMany();
    void countsTheAttributesOfOneStartTag_data();
    void countsTheAttributesOfOneStartTag();
    void countsWhateverStandsBefore_data();
    void countsWhateverStandsBefore();
    void anEarlierErrorIsTold();
    void takesAnyNumberOfAttributesFromCode();

    void acceptsAtMost256MiB();
    void refusesADocumentTypeHoweverLong_data();
    void refusesADocumentTypeHoweverLong();

    void readsEveryEncodingAlike_data();
    void readsEveryEncodingAlike();
    void refusesWhatIsNoCharacter_data();
    void refusesWhatIsNoCharacter();
    void refusesEncodingsThatItCannotGuard_data();
    void refusesEncodingsThatItCannotGuard();
};

void tst_MivoXmlNodeLimits::acceptsAtMost1000AttributesInEveryEncoding_data()
{
    QTest::addColumn<Encode>("encode");
    QTest::newRow("UTF-8") << Encode(encodeUtf8);
    QTest::newRow("UTF-8 with a mark") << Encode(encodeMarkedUtf8);
    QTest::newRow("Latin-1") << Encode(encodeLatin1);
    QTest::newRow("UTF-16") << Encode(encodeWide<2, false, true>);
    QTest::newRow("UTF-16, big-endian") << Encode(encodeWide<2, true, true>);
    QTest::newRow("UTF-16 without a mark") << Encode(encodeWide<2, false, false>);
    QTest::newRow("UTF-16 without a mark, big-endian") << Encode(encodeWide<2, true, false>);
    QTest::newRow("UTF-32") << Encode(encodeWide<4, false, true>);
    QTest::newRow("UTF-32, big-endian") << Encode(encodeWide<4, true, true>);
    QTest::newRow("UTF-32 without a mark") << Encode(encodeWide<4, false, false>);
    QTest::newRow("UTF-32 without a mark, big-endian") << Encode(encodeWide<4, true, false>);
}

void tst_MivoXmlNodeLimits::acceptsAtMost1000AttributesInEveryEncoding()
{
    QFETCH(Encode, encode);
    for (const char* const value : {"", "\xe9 = > \""}) {
        const QByteArray many = manyAttributes(1000, value);
        const MivoXmlNode node = MivoXmlNode::parse(encode("<r>\n<a" + many + "/></r>"));
        QCOMPARE(node.getChild("a").getAttribute("a0"), QString::fromLatin1(value));
        QCOMPARE(node.getChild("a").getAttribute("a999"), QString::fromLatin1(value));

        for (const int more : {1, 79000}) {
            const QByteArray tooMany = manyAttributes(1000 + more, value);
            const QString error = errorOf(encode("<r>\n<a" + tooMany + "/></r>"));
            QVERIFY2(error.startsWith("line 2, column "), qPrintable(error));
            QVERIFY2(error.endsWith(tooManyAttributes + QString(" (in element \"r\")")),
                     qPrintable(error));
        }
    }
}

void tst_MivoXmlNodeLimits::saysWhereAnAttributeIsOneTooMany()
{
    const QByteArray start = "<a" + manyAttributes(1000) + " b";
    const QString message = "line %1, column %2: " + QString(tooManyAttributes);
    QCOMPARE(errorOf(start + "=''/>"), message.arg(1).arg(start.size()));
    QCOMPARE(errorOf("<r>\n\n" + start + "=''/></r>"),
             message.arg(3).arg(start.size()) + " (in element \"r\")");
}

void tst_MivoXmlNodeLimits::countsTheAttributesOfOneStartTag_data()
{
    QTest::addColumn<QByteArray>("xml");
    const auto row = [](const char* name, const QByteArray& xml) { QTest::newRow(name) << xml; };
    const QByteArray many = manyAttributes(1000);
    const QByteArray tag = "<x" + many + many + ">";
    row("two elements", "<r><a" + many + "/><b" + many + "/></r>");
    row("an element in another", "<r" + many + "><a" + many + "></a></r>");
    row("text", "<r>" + many + many + " > ' \" </r>");
    row("value", "<r a=\"" + many + many + "\"/>");
    row("comment", "<r><!--" + tag + "--></r>");
    row("comment that begins with a bracket", "<r><!-->" + tag + "--></r>");
    row("comment with brackets", "<r><!--a>->" + tag + "--></r>");
    row("comment in front of the root", "<!-- <r" + many + many + "> --><r" + many + "/>");
    row("section", "<r><![CDATA[" + tag + "]]></r>");
    row("section with brackets", "<r><![CDATA[]>]] >" + tag + "]]]></r>");
    row("instruction", "<r><?x " + tag + "?></r>");
    row("instruction with brackets",
        "<r><?x > ? >" + tag
            + "?"
              "?></r>");
}

void tst_MivoXmlNodeLimits::countsTheAttributesOfOneStartTag()
{
    QFETCH(QByteArray, xml);
    QCOMPARE(errorOf(xml), QString());
}

void tst_MivoXmlNodeLimits::countsWhateverStandsBefore_data()
{
    QTest::addColumn<QByteArray>("before");
    const char* const pieces[] = {"",
                                  "<!---->",
                                  "<!-->-->",
                                  "<!-- ' -->",
                                  "<![CDATA[]]>",
                                  "<![CDATA[]]]>",
                                  "<![CDATA[\"]]>",
                                  "<?x?>",
                                  "<?x ?\?>",
                                  "<?x '?>",
                                  "'",
                                  "> ]]&gt; -- ?",
                                  "<b/>",
                                  "<b></b>",
                                  "<b\n/>",
                                  "<b c='>'/>",
                                  "<b c='\"'/>",
                                  "<b c=\"'\" d='' ></b >",
                                  "<b c='/>'></b>"};
    for (const char* const piece : pieces)
        QTest::newRow(QByteArray(piece).toPercentEncoding().constData()) << QByteArray(piece);
}

void tst_MivoXmlNodeLimits::countsWhateverStandsBefore()
{
    QFETCH(QByteArray, before);
    const QByteArray good = "<r>" + before + "<a" + manyAttributes(1000) + "/></r>";
    QCOMPARE(errorOf(good), QString());
    const QByteArray bad = "<r>" + before + "<a" + manyAttributes(1001) + "/></r>";
    QVERIFY2(errorOf(bad).contains(tooManyAttributes), qPrintable(errorOf(bad)));
    // Over every border between the pieces in which the reader gets a document.
    for (int blanks = 0; blanks < before.size() + 8; ++blanks) {
        const QString error = errorOf("<r>" + QByteArray(4090 - blanks, ' ') + bad.mid(3));
        QVERIFY2(error.contains(tooManyAttributes), qPrintable(error));
    }
}

void tst_MivoXmlNodeLimits::anEarlierErrorIsTold()
{
    QCOMPARE(errorOf("<r>&x;<a" + manyAttributes(2000) + "/></r>"),
             QString("line 1, column 6: Entity 'x' not declared (in element \"r\")"));
}

void tst_MivoXmlNodeLimits::takesAnyNumberOfAttributesFromCode()
{
    // Each is set and replaced, far from their order, beside a map that does the same.
    const int count = 1001;
    MivoXmlNode node("a");
    QMap<QString, QString> model;
    for (int i = 0; i < 2 * count; ++i) {
        const QString name = QString("a%1").arg((i * 389) % count);
        node.setAttribute(name, i);
        model.insert(name, QString::number(i));
    }
    QByteArray xml = "<a";
    for (auto it = model.constBegin(); it != model.constEnd(); ++it) {
        QCOMPARE(node.getAttribute(it.key()), it.value());
        xml += " " + it.key().toUtf8() + "=\"" + it.value().toUtf8() + "\"";
    }
    QCOMPARE(int(model.size()), count);
    QVERIFY(node.getAttribute("a").isNull());
    QVERIFY(node.getAttribute("a1001").isNull());
    QVERIFY(node.getAttribute("b").isNull());
    QVERIFY(node.toXml(-1) == xml + "/>");
    QVERIFY(errorOf(node.toXml()).contains(tooManyAttributes));
}

void tst_MivoXmlNodeLimits::acceptsAtMost256MiB()
{
    // Zeros that the system does not even lay out; the reader refuses the first.
    const int most = 256 * 1024 * 1024;
    const std::unique_ptr<char, decltype(&std::free)> zeros(
        static_cast<char*>(std::calloc(size_t(most) + 1, 1)), &std::free);
    QCOMPARE(errorOf(QByteArray::fromRawData(zeros.get(), most + 1)),
             QString("line 1, column 1: found a document of 268435457 bytes, expected at most "
                     "268435456"));
    const QString error = errorOf(QByteArray::fromRawData(zeros.get(), most));
    QVERIFY2(error.startsWith("line 1, column 1: ") && !error.contains("bytes"), qPrintable(error));
}

void tst_MivoXmlNodeLimits::refusesADocumentTypeHoweverLong_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("repeated");
    const auto row = [](const char* name, const char* start, const char* repeated) {
        QTest::newRow(name) << QByteArray(start) << QByteArray(repeated);
    };
    row("name", "<!DOCTYPE a", "a");
    row("attributes of an element", "<!DOCTYPE a [<!ATTLIST a", " b%1 CDATA ''");
    row("attributes of many elements", "<!DOCTYPE a [", "<!ATTLIST a%1 b CDATA ''>");
    row("entities", "<!DOCTYPE a [", "<!ENTITY a%1 'x'>");
    row("comments", "<!DOCTYPE a [", "<!-- ]> %1 -->");
}

void tst_MivoXmlNodeLimits::refusesADocumentTypeHoweverLong()
{
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, repeated);
    QByteArray xml = start;
    for (int i = 0; i < 80000; ++i)
        xml += QByteArray(repeated).replace("%1", QByteArray::number(i));
    for (const char* const end : {"", ">]><a/>", "]><a/>", "><a/>"}) {
        const QString error = errorOf("<?x?>\n" + xml + end);
        QVERIFY2(error.startsWith("line 2, column 10"), qPrintable(error));
        QVERIFY2(error.endsWith(": found a document type declaration, expected the root element"),
                 qPrintable(error));
    }
}

void tst_MivoXmlNodeLimits::readsEveryEncodingAlike_data()
{
    acceptsAtMost1000AttributesInEveryEncoding_data();
}

void tst_MivoXmlNodeLimits::readsEveryEncodingAlike()
{
    QFETCH(Encode, encode);
    const QByteArray text = "<a b='\xe9'>\xff" + QByteArray(10000, 'x') + "<c/></a>";
    QCOMPARE(MivoXmlNode::parse(encode(text)).toXml(-1),
             "<a b=\"\xc3\xa9\">\xc3\xbf" + QByteArray(10000, 'x') + "<c/></a>");
    // A wide document is what its first bytes make it, whatever it declares.
    const QByteArray bytes = encode("<a/>");
    if (bytes.size() > 8) {
        const QByteArray declared = encode("<?xml version='1.0' encoding='utf-8'?><a>\xe9</a>");
        if (!bytes.startsWith("<?xml"))
            QCOMPARE(MivoXmlNode::parse(declared).toXml(-1), QByteArray("<a>\xc3\xa9</a>"));
    }
}

void tst_MivoXmlNodeLimits::refusesWhatIsNoCharacter_data()
{
    QTest::addColumn<QByteArray>("xml");
    const QByteArray wide = encodeWide<2, false, true>("<a>--</a>");
    const auto replaced = [](QByteArray xml, int at, const char* hex) {
        const QByteArray bytes = QByteArray::fromHex(hex);
        return xml.replace(at, bytes.size(), bytes);
    };
    const int at = 2 + 3 * 2;
    QTest::newRow("UTF-8, overlong") << QByteArray("<a>\xc0\xbc</a>");
    QTest::newRow("UTF-8, surrogate") << QByteArray("<a>\xed\xa0\x80</a>");
    QTest::newRow("UTF-16, high surrogate alone") << replaced(wide, at, "3dd8");
    QTest::newRow("UTF-16, low surrogate alone") << replaced(wide, at, "00de");
    QTest::newRow("UTF-16, pair the wrong way round") << replaced(wide, at, "00de3dd8");
    QTest::newRow("UTF-16, zero") << replaced(wide, at, "0000");
    QTest::newRow("UTF-16, half a unit") << wide.left(wide.size() - 1);
    QTest::newRow("UTF-16, half a unit more") << wide + " ";
    const QByteArray wider = encodeWide<4, true, true>("<a>?</a>");
    QTest::newRow("UTF-32, surrogate") << replaced(wider, 4 + 3 * 4, "0000d83d");
    QTest::newRow("UTF-32, beyond the last") << replaced(wider, 4 + 3 * 4, "00110000");
    QTest::newRow("UTF-32, half a unit") << wider.left(wider.size() - 2);
}

void tst_MivoXmlNodeLimits::refusesWhatIsNoCharacter()
{
    QFETCH(QByteArray, xml);
    QVERIFY2(errorOf(xml).startsWith("line 1, column "), qPrintable(errorOf(xml)));
}

void tst_MivoXmlNodeLimits::refusesEncodingsThatItCannotGuard_data()
{
    QTest::addColumn<QByteArray>("encoding");
    // Some Qt knows each of them, and ASCII is not ASCII in them.
    for (const char* const name :
         {"UTF-16", "UTF-16BE", "utf-16le", "UTF-32", "UTF-7", "ISO-2022-JP", "HZ-GB-2312",
          "Shift_JIS", "GBK", "Big5", "IBM037", "SCSU", "windows-1200", "cp1201"})
        QTest::newRow(name) << QByteArray(name);
}

void tst_MivoXmlNodeLimits::refusesEncodingsThatItCannotGuard()
{
    QFETCH(QByteArray, encoding);
    const QString error
        = errorOf("<?xml version='1.0' encoding='" + encoding + "'?>\n<a>" + encoding + "</a>");
    QVERIFY2(error.startsWith("line 1, column "), qPrintable(error));
}

QTEST_APPLESS_MAIN(tst_MivoXmlNodeLimits)
#include "tst_mivoxmlnode_limits.moc"
