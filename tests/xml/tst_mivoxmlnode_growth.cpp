// What trees cost: in instructions and bytes, which do not depend on how busy the machine is.
#include "HeapCount.h"
#include "InstructionCount.h"
#include "MivoXmlNode.h"

#include <QtTest>

#include <functional>

namespace {

typedef std::function<void()> Piece;
typedef Piece (*Prepare)(int size);
typedef QByteArray (*Document)(int size);

MivoXmlNode formOf(int fields)
{
    MivoXmlNode form("fieldlist");
    for (int i = 0; i < fields; ++i) {
        MivoXmlNode field = form.addChild("field");
        field.addChild("id").insertData(QString("field %1").arg(i));
        field.setAttribute("type", QString("spinbox"));
        field.setAttribute("max", 100);
        field.setAttribute("min", -100);
        field.setAttribute("val", i);
    }
    return form;
}

QByteArray repeated(const char* start, const char* pattern, int count, const char* end)
{
    QByteArray xml = start;
    for (int i = 0; i < count; ++i)
        xml += QByteArray(pattern).replace("%1", QByteArray::number(i));
    return xml + end;
}

/** Reads @p xml, which is good or not. */
Piece reading(const QByteArray& xml, bool isGood = true)
{
    return [xml, isGood] {
        if (MivoXmlNode::parse(xml).isNull() == isGood)
            qFatal("%s is %s", xml.left(100).constData(), isGood ? "refused" : "accepted");
    };
}

/** Sets attributes in an order that is far from theirs, looks each up and replaces it. */
Piece settingAttributes(int count)
{
    QStringList names;
    for (int i = 0; i < count; ++i)
        names << QString("a%1").arg((i * 7919LL) % count);
    return [names] {
        MivoXmlNode node("a");
        for (const QString& name : names) {
            node.setAttribute(name, name);
            node.setAttribute(name, node.getAttribute(name) + "x");
        }
        if (node.getAttribute(names.first()) != names.first() + "x")
            qFatal("an attribute is lost");
    };
}

Piece addingChildren(int count)
{
    return [count] { formOf(count); };
}

Piece addingLevels(int count)
{
    return [count] {
        MivoXmlNode root("a");
        MivoXmlNode deepest = root;
        for (int i = 0; i < count; ++i) {
            deepest = deepest.addChild("a");
            MivoXmlNode other("b");
            deepest.appendChild(other);
        }
    };
}

Piece addingTexts(int count)
{
    return [count] {
        MivoXmlNode node("a");
        for (int i = 0; i < count; ++i)
            node.insertData("x");
        if (node.getData().size() != count)
            qFatal("a text is lost");
    };
}

template <bool Backwards>
Piece movingChildren(int count)
{
    MivoXmlNode from("from");
    for (int i = 0; i < count; ++i) {
        from.insertData("text");
        from.addChild("a");
    }
    QList<MivoXmlNode> children = from.getChildNodes();
    if (Backwards)
        std::reverse(children.begin(), children.end());
    return [from, children] {
        MivoXmlNode to("to");
        for (const MivoXmlNode& child : children)
            to.appendChild(child);
        to.toXml();
        from.toXml();
    };
}

Piece writing(int count)
{
    const MivoXmlNode form = formOf(count);
    return [form] { form.toXml(); };
}

Piece readingAForm(int count)
{
    return reading(formOf(count).toXml());
}

Piece readingElements(int count)
{
    return reading(repeated("<a>", "<b c='d'>e</b>", count, "</a>"));
}

Piece readingTextInPieces(int count)
{
    return reading(repeated("<a>", "x<!-- -->\n<?y?><![CDATA[z]]>", count, "</a>"));
}

Piece readingAnyNames(int count)
{
    return reading(repeated("<a>", "<b%1 c%1='%1'>%1</b%1>", count, "</a>"));
}

QByteArray attributesOfTheRoot(int count)
{
    return repeated("<a", " a%1=''", count, "/>");
}

QByteArray attributesOfAChild(int count)
{
    return repeated("<a><b", " a%1='x &lt;'", count, "/></a>");
}

QByteArray attributesInUtf16(int count)
{
    const QString text = QString::fromLatin1(attributesOfTheRoot(count));
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
}

QByteArray attributesInADocumentType(int count)
{
    return repeated("<!DOCTYPE a [<!ATTLIST a", " b%1 CDATA ''", count, ">]><a/>");
}

QByteArray elementsInADocumentType(int count)
{
    return repeated("<!DOCTYPE a [", "<!ATTLIST a%1 b CDATA ''>", count, "]><a/>");
}

QByteArray entitiesInADocumentType(int count)
{
    return repeated("<!DOCTYPE a [", "<!ENTITY a%1 'x'>", count, "]><a/>");
}

QByteArray levels(int count)
{
    return QByteArray("<a>").repeated(count);
}

} // namespace

Q_DECLARE_METATYPE(Prepare)
Q_DECLARE_METATYPE(Document)

class tst_MivoXmlNodeGrowth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void costsGrowWithTheSize_data();
    void costsGrowWithTheSize();
    void refusingCostsNoMoreThanReading_data();
    void refusingCostsNoMoreThanReading();
    void aFormTakesLittleMemory();
};

void tst_MivoXmlNodeGrowth::costsGrowWithTheSize_data()
{
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<int>("size");
    const auto row = [](const char* name, Prepare prepare, int size = 300) {
        QTest::newRow(name) << prepare << size;
    };
    row("set attributes", settingAttributes, 8000);
    row("add children", addingChildren);
    row("add levels", addingLevels);
    row("add texts", addingTexts);
    row("move children", movingChildren<false>);
    row("move children backwards", movingChildren<true>);
    row("write", writing);
    row("read a form", readingAForm);
    row("read elements", readingElements);
    row("read text in pieces", readingTextInPieces);
    row("read any names", readingAnyNames);
}

void tst_MivoXmlNodeGrowth::costsGrowWithTheSize()
{
    if (!canCountInstructions())
        QSKIP("valgrind does not run programs with sanitizers");
    QFETCH(Prepare, prepare);
    QFETCH(int, size);
    const double growth = tenfoldGrowth(prepare, size);
    QVERIFY(growth > 5);
    // Sorting and looking up take the logarithm's share.
    QVERIFY(growth < 13);
}

void tst_MivoXmlNodeGrowth::refusingCostsNoMoreThanReading_data()
{
    QTest::addColumn<Document>("document");
    QTest::newRow("attributes of the root") << Document(attributesOfTheRoot);
    QTest::newRow("attributes of a child") << Document(attributesOfAChild);
    QTest::newRow("attributes in UTF-16") << Document(attributesInUtf16);
    QTest::newRow("document type, attributes") << Document(attributesInADocumentType);
    QTest::newRow("document type, elements") << Document(elementsInADocumentType);
    QTest::newRow("document type, entities") << Document(entitiesInADocumentType);
    QTest::newRow("levels") << Document(levels);
}

void tst_MivoXmlNodeGrowth::refusingCostsNoMoreThanReading()
{
    if (!canCountInstructions())
        QSKIP("valgrind does not run programs with sanitizers");
    QFETCH(Document, document);
    enum Which { Good = 1, Bad };
    const auto piece = [document](int which) {
        const QByteArray bad = document(5000);
        const QByteArray element = "<b c='d'>e</b>";
        return which == Bad
            ? reading(bad, false)
            : reading("<a>" + element.repeated(int(bad.size()) / element.size()) + "</a>");
    };
    const qint64 readingGood = instructionsOf(piece, Good);
    const qint64 refusing = instructionsOf(piece, Bad);
    qInfo("read: %lld instructions, refused: %lld", static_cast<long long>(readingGood),
          static_cast<long long>(refusing));
    QVERIFY(refusing > 0);
    QVERIFY(refusing <= readingGood);
}

void tst_MivoXmlNodeGrowth::aFormTakesLittleMemory()
{
    if (!canCountHeap())
        QSKIP("the sanitizers have a heap of their own");
    const qint64 fields = 10000;
    MivoXmlNode made;
    const HeapCount::Use making = HeapCount::of([&] { made = formOf(int(fields)); });
    QByteArray xml;
    const HeapCount::Use writing = HeapCount::of([&] { xml = made.toXml(); });
    MivoXmlNode read;
    const HeapCount::Use reading = HeapCount::of([&] { read = MivoXmlNode::parse(xml); });
    const HeapCount::Use ending = HeapCount::of([&] { read = MivoXmlNode(); });
    const auto tell = [](const char* what, const HeapCount::Use& use) {
        qInfo("%s: %lld bytes a field at most, %lld left, %.1f allocations", what,
              static_cast<long long>(use.peak / fields), static_cast<long long>(use.left / fields),
              double(use.allocations) / fields);
    };
    tell("making", making);
    tell("writing", writing);
    tell("reading", reading);
    QVERIFY(making.peak < fields * 950);
    QVERIFY(writing.peak < 3 * xml.size());
    QVERIFY(reading.peak < fields * 700);
    QVERIFY(reading.left < fields * 650);
    // Less than a byte a field stays, in what Qt keeps for the next reader.
    QVERIFY(ending.left < fields - reading.left);
}

QTEST_APPLESS_MAIN(tst_MivoXmlNodeGrowth)
#include "tst_mivoxmlnode_growth.moc"
