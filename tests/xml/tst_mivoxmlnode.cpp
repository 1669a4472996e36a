#include "Background.h"
#include "MivoXmlNode.h"

#include <QtTest>

#include <atomic>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>

Q_DECLARE_METATYPE(MivoXmlNode)

namespace {

using Limits = std::numeric_limits<double>;

MivoXmlNode parsed(const char* xml)
{
    QString error;
    const MivoXmlNode node = MivoXmlNode::parse(xml, &error);
    if (node.isNull())
        qWarning("%s", qPrintable(error));
    return node;
}

/** A row of one column, named by the text in a form that can be printed. */
QTestData& textRow(const char* text)
{
    return QTest::newRow(QByteArray(text).toPercentEncoding(" <>&:#;=!?/[]'\"").constData())
        << QString::fromUtf8(text);
}

QString fromCodes(std::initializer_list<ushort> codes)
{
    QString text;
    for (const ushort code : codes)
        text += QChar(code);
    return text;
}

quint64 bits(double value)
{
    quint64 result;
    std::memcpy(&result, &value, sizeof result);
    return result;
}

/** Puts back the locales that a test has changed. */
class LocaleGuard
{
public:
    ~LocaleGuard()
    {
        QLocale::setDefault(QLocale::c());
        std::setlocale(LC_ALL, "C");
    }
};

} // namespace

class tst_MivoXmlNode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nullHandlesAnswerDefaultsAndChangeNothing_data();
    void nullHandlesAnswerDefaultsAndChangeNothing();
    void constructorMakesARootOrALastChild();
    void aNullParentHandleCountsAsNone();
    void onlyXmlNamesMakeSomething_data();
    void onlyXmlNamesMakeSomething();
    void everyAcceptedCharacterOfANameIsReadAgain();

    void copiesReferToTheSameElement();
    void equalityIsIdentity();
    void aHandleKeepsItsElementAndDocumentAlive();
    void anElementOutlivesWhatHeldIt();
    void movesTakeTheElementAndLeaveANullHandle();
    void handlesAreCopiedAndLetGoOfInOtherThreads();

    void attributesAreAbsentOrEmptyOrReplaced();
    void numbersAreWrittenAsDecimalText_data();
    void numbersAreWrittenAsDecimalText();
    void doublesReadBackBitForBit_data();
    void doublesReadBackBitForBit();
    void numbersIgnoreTheLocale_data();
    void numbersIgnoreTheLocale();

    void dataIsTheElementsOwn();
    void insertedDataIsAddedLast();
    void anEmptyTextIsNoData();
    void getChildFindsTheFirstOfThatName();
    void childNodesAreElementsInDocumentOrder();
    void addedChildrenStandLast();

    void appendingMovesTheElement();
    void appendingAcrossDocumentsKeepsIdentity();
    void appendedElementsOutliveTheDocumentTheyMovedTo();
    void appendingAnAncestorOrItselfChangesNothing();

    void writesTheSameBytesEverywhere_data();
    void writesTheSameBytesEverywhere();
    void replacesWhatXmlCannotCarry_data();
    void replacesWhatXmlCannotCarry();
    void everyCodePointIsWrittenAndReadBack_data();
    void everyCodePointIsWrittenAndReadBack();
    void piecesOfTextMakeOneText();
    void textComesBackFromXml_data();
    void textComesBackFromXml();
    void layoutIsNotData_data();
    void layoutIsNotData();
    void readsForeignXml_data();
    void readsForeignXml();
    void refusesWithLineAndColumn_data();
    void refusesWithLineAndColumn();
    void acceptsAtMost256Levels();
    void survivesVeryDeepTrees();

    void printsOneLineOfXml_data();
    void printsOneLineOfXml();
    void printLeavesTheStreamInSpaceMode();
};

void tst_MivoXmlNode::nullHandlesAnswerDefaultsAndChangeNothing_data()
{
    QTest::addColumn<MivoXmlNode>("node");
    QTest::newRow("default") << MivoXmlNode();
    QTest::newRow("empty name") << MivoXmlNode("", nullptr);
    QTest::newRow("null name") << MivoXmlNode(QString(), nullptr);
    QTest::newRow("child not there") << MivoXmlNode("a").getChild("b");
    QTest::newRow("not XML") << MivoXmlNode::parse("<");
}

void tst_MivoXmlNode::nullHandlesAnswerDefaultsAndChangeNothing()
{
    QFETCH(MivoXmlNode, node);
    node.setAttribute("a", "text");
    node.setAttribute("a", 1);
    node.setAttribute("a", 1u);
    node.setAttribute("a", 1.5);
    node.insertData("data");
    node.appendChild(MivoXmlNode("child"));
    node.appendChild(node);
    QVERIFY(node.addChild("child").isNull());

    QVERIFY(node.isNull());
    QVERIFY(node.name().isNull());
    QVERIFY(node.getAttribute("a").isNull());
    QVERIFY(node.getData().isNull());
    QVERIFY(!node.hasData());
    QVERIFY(node.getChild("child").isNull());
    QVERIFY(node.getChildNodes().isEmpty());
    QCOMPARE(node.toXml(), QByteArray());
    QVERIFY(node == MivoXmlNode());

    MivoXmlNode other("a");
    other.appendChild(node);
    QCOMPARE(other.toXml(-1), QByteArray("<a/>"));
    QVERIFY(node != other);
}

void tst_MivoXmlNode::constructorMakesARootOrALastChild()
{
    MivoXmlNode root("root", nullptr);
    QVERIFY(!root.isNull());
    QCOMPARE(root.name(), QString("root"));
    const MivoXmlNode first("first", &root);
    const MivoXmlNode last("last", &root);
    QCOMPARE(root.toXml(-1), QByteArray("<root><first/><last/></root>"));
    QVERIFY(root.getChild("last") == last);
}

void tst_MivoXmlNode::aNullParentHandleCountsAsNone()
{
    MivoXmlNode parent;
    QCOMPARE(MivoXmlNode("a", &parent).toXml(-1), QByteArray("<a/>"));
    QVERIFY(parent.isNull());
}

void tst_MivoXmlNode::onlyXmlNamesMakeSomething_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("accepted");
    const char* good[] = {"a",
                          "Z",
                          "_",
                          "a-b.c_9",
                          "x:y",
                          "xml:space",
                          "\xc3\xb1",
                          "e\xcc\x81",
                          "\xd0\xb8\xd0\xbc\xd1\x8f",
                          "a\xe4\xb8\xad"};
    for (const char* name : good)
        textRow(name) << true;
    const char* bad[]
        = {" ",     "a ",      " a",    "a b",   "9",        "-a",           ".a",
           "a/",    "a/><b",   "a b='", "<",     ">",        "a>",           "a b='1'",
           "a:b:c", ":",       ":a",    "a:",    "a&b",      "a\n",          "!--a--",
           "?a?",   "a=\"1\"", "&amp;", "a\x01", "\xc2\xb2", "a\xef\xbf\xbf"};
    for (const char* name : bad)
        textRow(name) << false;
    QTest::newRow("zero character") << fromCodes({'a', 0}) << false;
    QTest::newRow("lone surrogate") << fromCodes({'a', 0xd800}) << false;
}

void tst_MivoXmlNode::onlyXmlNamesMakeSomething()
{
    QFETCH(QString, name);
    QFETCH(bool, accepted);
    QCOMPARE(MivoXmlNode(name).isNull(), !accepted);
    QCOMPARE(MivoXmlNode(name).name(), accepted ? name : QString());

    MivoXmlNode root("root");
    QCOMPARE(root.addChild(name).isNull(), !accepted);
    QCOMPARE(root.getChildNodes().size(), accepted ? 1 : 0);
    root.setAttribute(name, "v");
    QCOMPARE(root.getAttribute(name), accepted ? QString("v") : QString());

    const MivoXmlNode again = MivoXmlNode::parse(root.toXml());
    QCOMPARE(again.toXml(), root.toXml());
    QCOMPARE(again.getChild(name).isNull(), !accepted);
    QCOMPARE(again.getAttribute(name), root.getAttribute(name));
}

void tst_MivoXmlNode::everyAcceptedCharacterOfANameIsReadAgain()
{
    MivoXmlNode root("root");
    for (int code = 0; code < 0x10000; ++code) {
        const QString name = QString("a") + QChar(ushort(code));
        root.addChild(name).setAttribute(QChar(ushort(code)), "v");
    }
    QVERIFY(root.getChildNodes().size() > 10000);
    const MivoXmlNode again = parsed(root.toXml());
    QVERIFY(!again.isNull());
    QVERIFY(again.toXml() == root.toXml());
}

void tst_MivoXmlNode::copiesReferToTheSameElement()
{
    MivoXmlNode node("a");
    MivoXmlNode copy(node);
    MivoXmlNode assigned;
    assigned = copy;
    assigned.setAttribute("x", 1);
    copy.insertData("text");
    QCOMPARE(node.toXml(-1), QByteArray("<a x=\"1\">text</a>"));
    QVERIFY(copy == node && assigned == node);

    MivoXmlNode& same = node;
    node = same;
    QCOMPARE(node.name(), QString("a"));
    node = node.addChild("b");
    QCOMPARE(node.name(), QString("b"));
}

void tst_MivoXmlNode::equalityIsIdentity()
{
    MivoXmlNode root("a");
    const MivoXmlNode first = root.addChild("b");
    const MivoXmlNode second = root.addChild("b");
    QVERIFY(first == root.getChild("b"));
    QVERIFY(!(first != root.getChild("b")));
    QVERIFY(first != second);
    QVERIFY(!(first == second));
    QVERIFY(MivoXmlNode("a") != MivoXmlNode("a"));
    QVERIFY(MivoXmlNode() == MivoXmlNode());
}

void tst_MivoXmlNode::aHandleKeepsItsElementAndDocumentAlive()
{
    MivoXmlNode leaf;
    {
        MivoXmlNode root = parsed("<a><b><c>text</c></b></a>");
        leaf = root.getChild("b").getChild("c");
    }
    leaf.addChild("d").setAttribute("e", 1);
    QCOMPARE(leaf.toXml(-1), QByteArray("<c>text<d e=\"1\"/></c>"));
}

void tst_MivoXmlNode::anElementOutlivesWhatHeldIt()
{
    MivoXmlNode root("root");
    MivoXmlNode middle = root.addChild("middle");
    MivoXmlNode leaf = middle.addChild("leaf");
    middle.addChild("other").insertData("text");
    root = MivoXmlNode();
    QCOMPARE(middle.toXml(-1), QByteArray("<middle><leaf/><other>text</other></middle>"));
    middle = MivoXmlNode();

    // A root itself now, it can be held by anything.
    MivoXmlNode twig("twig");
    twig.appendChild(leaf);
    twig.appendChild(leaf);
    leaf.appendChild(twig);
    QCOMPARE(twig.toXml(-1), QByteArray("<twig><leaf/></twig>"));
    leaf = MivoXmlNode();
    QCOMPARE(twig.toXml(-1), QByteArray("<twig><leaf/></twig>"));
}

void tst_MivoXmlNode::movesTakeTheElementAndLeaveANullHandle()
{
    static_assert(std::is_nothrow_move_constructible<MivoXmlNode>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoXmlNode>::value, "");
    MivoXmlNode node("a");
    const MivoXmlNode copy = node;
    MivoXmlNode moved(std::move(node));
    QVERIFY(moved == copy);
    QVERIFY(node.isNull()); // NOLINT(bugprone-use-after-move): what is left is told

    MivoXmlNode target("b");
    target = std::move(moved);
    QVERIFY(target == copy);
    QVERIFY(moved.isNull()); // NOLINT(bugprone-use-after-move)
    moved = MivoXmlNode("again");
    QCOMPARE(moved.name(), QString("again"));

    // What is given may stand in what is let go of.
    MivoXmlNode parent("parent");
    parent = parent.addChild("child");
    QCOMPARE(parent.toXml(-1), QByteArray("<child/>"));
}

void tst_MivoXmlNode::handlesAreCopiedAndLetGoOfInOtherThreads()
{
    MivoXmlNode root("root");
    const MivoXmlNode child = root.addChild("child");
    std::atomic<int> same{0};
    const auto copyOften = [&same, child, root] {
        for (int i = 0; i < 10000; ++i) {
            const QList<MivoXmlNode> copies = {child, root, child};
            same += copies.at(0) == child ? 1 : 0;
        }
    };
    {
        const Background one(copyOften);
        const Background other(copyOften);
        for (int i = 0; i < 1000; ++i) {
            MivoXmlNode holder = root.addChild("holder");
            holder.appendChild(child);
            root.appendChild(child);
        }
    }
    QCOMPARE(same.load(), 20000);
    QCOMPARE(root.getChildNodes().size(), 1001);
    QVERIFY(root.getChildNodes().at(1000) == child);
}

void tst_MivoXmlNode::attributesAreAbsentOrEmptyOrReplaced()
{
    MivoXmlNode node("a");
    QVERIFY(node.getAttribute("x").isNull());
    QVERIFY(node.getAttribute("").isNull());
    node.setAttribute("x", QString());
    QVERIFY(!node.getAttribute("x").isNull());
    QVERIFY(node.getAttribute("x").isEmpty());
    QCOMPARE(node.toXml(-1), QByteArray("<a x=\"\"/>"));
    QVERIFY(!parsed(node.toXml()).getAttribute("x").isNull());
    node.setAttribute("x", "one");
    node.setAttribute("X", "other");
    node.setAttribute("x", 2);
    QCOMPARE(node.toXml(-1), QByteArray("<a X=\"other\" x=\"2\"/>"));
}

void tst_MivoXmlNode::numbersAreWrittenAsDecimalText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << QVariant(0) << "0";
    QTest::newRow("-5") << QVariant(-5) << "-5";
    QTest::newRow("int min") << QVariant(std::numeric_limits<int>::min()) << "-2147483648";
    QTest::newRow("int max") << QVariant(std::numeric_limits<int>::max()) << "2147483647";
    QTest::newRow("unsigned max") << QVariant(0xffffffffu) << "4294967295";
    QTest::newRow("0.0") << QVariant(0.0) << "0";
    QTest::newRow("-0.0") << QVariant(-0.0) << "-0";
    QTest::newRow("0.1") << QVariant(0.1) << "0.1";
    QTest::newRow("-2.5") << QVariant(-2.5) << "-2.5";
    QTest::newRow("1234567.25") << QVariant(1234567.25) << "1234567.25";
    QTest::newRow("1e100") << QVariant(1e100) << "1e+100";
    QTest::newRow("1e-5") << QVariant(1e-5) << "1e-05";
    QTest::newRow("16 digits") << QVariant(0.1 + 0.7) << "0.7999999999999999";
    QTest::newRow("17 digits") << QVariant(0.1 + 0.2) << "0.30000000000000004";
    QTest::newRow("2^53") << QVariant(9007199254740992.0) << "9007199254740992";
    QTest::newRow("max") << QVariant(Limits::max()) << "1.7976931348623157e+308";
    QTest::newRow("inf") << QVariant(Limits::infinity()) << "inf";
    QTest::newRow("-inf") << QVariant(-Limits::infinity()) << "-inf";
    QTest::newRow("nan") << QVariant(Limits::quiet_NaN()) << "nan";
    QTest::newRow("-nan") << QVariant(std::copysign(Limits::quiet_NaN(), -1.0)) << "nan";
}

void tst_MivoXmlNode::numbersAreWrittenAsDecimalText()
{
    QFETCH(QVariant, value);
    MivoXmlNode node("a");
    switch (value.userType()) {
    case QMetaType::Int:
        node.setAttribute("x", value.toInt());
        break;
    case QMetaType::UInt:
        node.setAttribute("x", value.toUInt());
        break;
    default:
        node.setAttribute("x", value.toDouble());
        break;
    }
    QTEST(node.getAttribute("x"), "text");
}

void tst_MivoXmlNode::doublesReadBackBitForBit_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("denormal min") << Limits::denorm_min();
    QTest::newRow("largest denormal") << std::nextafter(Limits::min(), 0.0);
    QTest::newRow("min") << Limits::min();
    QTest::newRow("max") << Limits::max();
    QTest::newRow("above one") << std::nextafter(1.0, 2.0);
    QTest::newRow("below one") << std::nextafter(1.0, 0.0);
    QTest::newRow("third") << 1.0 / 3.0;
    QTest::newRow("pi") << 3.141592653589793;
    QTest::newRow("above 1e23") << std::nextafter(1e23, Limits::infinity());
    QTest::newRow("zero") << 0.0;
    QTest::newRow("infinity") << Limits::infinity();
}

void tst_MivoXmlNode::doublesReadBackBitForBit()
{
    QFETCH(double, value);
    for (const double signedValue : {value, -value}) {
        MivoXmlNode node("a");
        node.setAttribute("x", signedValue);
        bool ok = false;
        const double read = QLocale::c().toDouble(node.getAttribute("x"), &ok);
        QVERIFY(ok);
        QCOMPARE(bits(read), bits(signedValue));
    }
}

void tst_MivoXmlNode::numbersIgnoreTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    for (const char* name : {"C", "de_DE", "tr_TR", "ar_EG", "hi_IN", "fr_FR"})
        QTest::newRow(name) << name;
}

void tst_MivoXmlNode::numbersIgnoreTheLocale()
{
    QFETCH(QString, locale);
    const LocaleGuard guard;
    QLocale::setDefault(QLocale(locale));
    for (const char* suffix : {"", ".UTF-8", ".utf8"})
        std::setlocale(LC_ALL, (locale + suffix).toLatin1().constData());

    MivoXmlNode node("Iiı");
    node.setAttribute("double", -1234567.125);
    node.setAttribute("int", -1234567);
    node.setAttribute("unsigned", 4294967295u);
    const QByteArray xml
        = "<Iiı double=\"-1234567.125\" int=\"-1234567\" unsigned=\"4294967295\"/>";
    QCOMPARE(node.toXml(-1), xml);
    QCOMPARE(parsed(xml).toXml(-1), xml);
}

void tst_MivoXmlNode::dataIsTheElementsOwn()
{
    const MivoXmlNode node = parsed("<a>one<b>not<c>this</c></b> two<![CDATA[ <three>]]><!-- no -->"
                                    "&lt;four&gt;</a>");
    QCOMPARE(node.getData(), QString("one two <three><four>"));
    QVERIFY(node.hasData());
    QCOMPARE(node.getChild("b").getData(), QString("not"));
}

void tst_MivoXmlNode::insertedDataIsAddedLast()
{
    MivoXmlNode node("a");
    node.insertData("one");
    node.insertData(" two");
    node.addChild("b");
    node.insertData(" three");
    QCOMPARE(node.getData(), QString("one two three"));
    QCOMPARE(node.toXml(-1), QByteArray("<a>one two<b/> three</a>"));
}

void tst_MivoXmlNode::anEmptyTextIsNoData()
{
    MivoXmlNode node("a");
    node.insertData(QString());
    node.insertData("");
    QVERIFY(!node.hasData());
    QVERIFY(!node.getData().isNull());
    QVERIFY(node.getData().isEmpty());
    QCOMPARE(node.toXml(-1), QByteArray("<a/>"));
    node.insertData(" ");
    QVERIFY(node.hasData());
    QVERIFY(!parsed("<a></a>").hasData());
    QVERIFY(!parsed("<a><![CDATA[]]></a>").hasData());
    QVERIFY(!parsed("<a><b>text</b></a>").hasData());
}

void tst_MivoXmlNode::getChildFindsTheFirstOfThatName()
{
    const MivoXmlNode node = parsed("<a>b<c><b x=\"deeper\"/></c><B/><b x=\"1\"/><b x=\"2\"/></a>");
    QCOMPARE(node.getChild("b").getAttribute("x"), QString("1"));
    QVERIFY(node.getChild("d").isNull());
    QVERIFY(node.getChild("").isNull());
    QVERIFY(node.getChild("a").isNull());
}

void tst_MivoXmlNode::childNodesAreElementsInDocumentOrder()
{
    const QList<MivoXmlNode> children
        = parsed("<a>x<c/><!-- y --><b><d/></b>z<c/></a>").getChildNodes();
    QCOMPARE(children.size(), 3);
    QCOMPARE(children.at(0).name(), QString("c"));
    QCOMPARE(children.at(1).name(), QString("b"));
    QCOMPARE(children.at(2).name(), QString("c"));
    QVERIFY(children.at(0) != children.at(2));
}

void tst_MivoXmlNode::addedChildrenStandLast()
{
    MivoXmlNode node = parsed("<a><c/></a>");
    const MivoXmlNode added = node.addChild("b");
    QCOMPARE(node.toXml(-1), QByteArray("<a><c/><b/></a>"));
    QVERIFY(node.getChild("b") == added);
}

void tst_MivoXmlNode::appendingMovesTheElement()
{
    MivoXmlNode root = parsed("<a><b>text</b><c><d/></c></a>");
    const MivoXmlNode d = root.getChild("c").getChild("d");
    root.appendChild(root.getChild("b"));
    QCOMPARE(root.toXml(-1), QByteArray("<a><c><d/></c><b>text</b></a>"));
    root.appendChild(d);
    QCOMPARE(root.toXml(-1), QByteArray("<a><c/><b>text</b><d/></a>"));
    root.appendChild(d);
    QCOMPARE(root.toXml(-1), QByteArray("<a><c/><b>text</b><d/></a>"));
    QVERIFY(root.getChild("d") == d);
}

void tst_MivoXmlNode::appendingAcrossDocumentsKeepsIdentity()
{
    MivoXmlNode list("list");
    MivoXmlNode item("item");
    MivoXmlNode inner = item.addChild("inner");
    list.appendChild(item);
    QVERIFY(list.getChild("item") == item);
    QVERIFY(list.getChild("item").getChild("inner") == inner);
    inner.insertData("text");
    item.addChild("more");
    QCOMPARE(list.toXml(-1), QByteArray("<list><item><inner>text</inner><more/></item></list>"));

    MivoXmlNode other("other");
    other.appendChild(inner);
    other.appendChild(list);
    QCOMPARE(other.toXml(-1),
             QByteArray("<other><inner>text</inner><list><item><more/></item></list></other>"));
    inner.appendChild(list);
    QCOMPARE(other.toXml(-1),
             QByteArray("<other><inner>text<list><item><more/></item></list></inner></other>"));
}

void tst_MivoXmlNode::appendedElementsOutliveTheDocumentTheyMovedTo()
{
    MivoXmlNode item("item");
    MivoXmlNode leaf = item.addChild("branch").addChild("leaf");
    MivoXmlNode third;
    {
        MivoXmlNode list("list");
        list.addChild("before");
        list.appendChild(item);
        third = list.addChild("third");
    }
    item.addChild("added").setAttribute("x", 1.5);
    item.insertData("text");
    leaf.setAttribute("y", "z");
    QCOMPARE(item.toXml(-1),
             QByteArray("<item><branch><leaf y=\"z\"/></branch>"
                        "<added x=\"1.5\"/>text</item>"));

    // Only a handle deep inside is left, and lives on in yet another document.
    item = MivoXmlNode();
    leaf.addChild("twig");
    third.appendChild(leaf);
    QCOMPARE(third.toXml(-1), QByteArray("<third><leaf y=\"z\"><twig/></leaf></third>"));
    third = MivoXmlNode();
    MivoXmlNode last("last");
    last.appendChild(leaf);
    leaf.insertData("end");
    QCOMPARE(last.toXml(-1), QByteArray("<last><leaf y=\"z\"><twig/>end</leaf></last>"));
}

void tst_MivoXmlNode::appendingAnAncestorOrItselfChangesNothing()
{
    const QByteArray xml = "<a><b><c/></b></a>";
    MivoXmlNode a = parsed(xml);
    MivoXmlNode b = a.getChild("b");
    MivoXmlNode c = b.getChild("c");
    a.appendChild(a);
    c.appendChild(a);
    c.appendChild(b);
    c.appendChild(c);
    QCOMPARE(a.toXml(-1), xml);
}

void tst_MivoXmlNode::writesTheSameBytesEverywhere_data()
{
    QTest::addColumn<MivoXmlNode>("node");
    QTest::addColumn<int>("indent");
    QTest::addColumn<QByteArray>("xml");

    MivoXmlNode list("fieldlist");
    MivoXmlNode field("field");
    field.addChild("id").insertData("one & <two>");
    field.setAttribute("val", 3);
    field.setAttribute("type", "spinbox");
    field.setAttribute("min", -1);
    field.setAttribute("max", 10u);
    field.setAttribute("Max", 0.5);
    field.addChild("string").insertData(" ");
    field.addChild("string");
    list.appendChild(field);
    list.addChild("field");
    QTest::newRow("no layout")
        << list << -1
        << QByteArray(
               "<fieldlist><field Max=\"0.5\" max=\"10\" min=\"-1\" type=\"spinbox\" val=\"3\">"
               "<id>one &amp; &lt;two&gt;</id><string> </string><string/></field><field/>"
               "</fieldlist>");
    QTest::newRow("lines") << list << 0
                           << QByteArray("<fieldlist>\n"
                                         "<field Max=\"0.5\" max=\"10\" min=\"-1\" "
                                         "type=\"spinbox\" val=\"3\">\n"
                                         "<id>one &amp; &lt;two&gt;</id>\n"
                                         "<string> </string>\n"
                                         "<string/>\n"
                                         "</field>\n"
                                         "<field/>\n"
                                         "</fieldlist>\n");
    QTest::newRow("two blanks") << list << 2
                                << QByteArray("<fieldlist>\n"
                                              "  <field Max=\"0.5\" max=\"10\" min=\"-1\" "
                                              "type=\"spinbox\" val=\"3\">\n"
                                              "    <id>one &amp; &lt;two&gt;</id>\n"
                                              "    <string> </string>\n"
                                              "    <string/>\n"
                                              "  </field>\n"
                                              "  <field/>\n"
                                              "</fieldlist>\n");
    QTest::newRow("part of a tree") << list.getChild("field").getChild("id") << 2
                                    << QByteArray("<id>one &amp; &lt;two&gt;</id>\n");

    MivoXmlNode mixed("p");
    mixed.insertData("text ");
    mixed.addChild("b").addChild("i").addChild("u");
    mixed.insertData("\n");
    QTest::newRow("mixed") << mixed << 1
                           << QByteArray("<p>text <b>\n  <i>\n   <u/>\n  </i>\n </b>\n</p>\n");
    QTest::newRow("negative") << mixed << std::numeric_limits<int>::min()
                              << QByteArray("<p>text <b><i><u/></i></b>\n</p>");

    MivoXmlNode blank("p");
    blank.addChild("b");
    blank.insertData("\r ");
    QTest::newRow("white space beside elements")
        << blank << 4 << QByteArray("<p><![CDATA[]]><b/>&#13; </p>\n");

    MivoXmlNode escapes("e");
    const QString all
        = QString::fromUtf8("\t\n\r \"'<>&]]>\xc2\x85\xc3\xa9\xe2\x80\xa8\xf0\x9f\x98\x80");
    escapes.setAttribute("a", all);
    escapes.insertData(all);
    QTest::newRow("escapes") << escapes << -1
                             << QByteArray("<e a=\"&#9;&#10;&#13; &quot;'&lt;&gt;&amp;]]&gt;"
                                           "\xc2\x85\xc3\xa9\xe2\x80\xa8\xf0\x9f\x98\x80\">"
                                           "\t\n&#13; \"'&lt;&gt;&amp;]]&gt;"
                                           "\xc2\x85\xc3\xa9\xe2\x80\xa8\xf0\x9f\x98\x80</e>");
    MivoXmlNode root("a");
    root.addChild("b");
    QTest::newRow("at most 16 blanks")
        << root << std::numeric_limits<int>::max()
        << QByteArray("<a>\n" + QByteArray(16, ' ') + "<b/>\n</a>\n");
}

void tst_MivoXmlNode::writesTheSameBytesEverywhere()
{
    QFETCH(MivoXmlNode, node);
    QFETCH(int, indent);
    QFETCH(QByteArray, xml);
    QCOMPARE(node.toXml(indent), xml);
    QCOMPARE(parsed(xml).toXml(indent), xml);
    if (indent == 2)
        QCOMPARE(node.toXml(), xml);
}

void tst_MivoXmlNode::replacesWhatXmlCannotCarry_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("read");
    const ushort mark = 0xfffd;
    for (const ushort code : {0x00, 0x01, 0x08, 0x0b, 0x0c, 0x0e, 0x1f, 0xd800, 0xdbff, 0xdc00,
                              0xdfff, 0xfffe, 0xffff}) {
        QTest::addRow("U+%04X", code) << fromCodes({'a', code, 'b'}) << fromCodes({'a', mark, 'b'});
        QTest::addRow("U+%04X alone", code) << fromCodes({code}) << fromCodes({mark});
    }
    for (const ushort code : {0x7f, 0x80, 0x9f, 0xd7ff, 0xe000, 0xfdd0, 0xfeff, 0xfffd})
        QTest::addRow("U+%04X stays", code) << fromCodes({code}) << fromCodes({code});
    QTest::newRow("pair") << fromCodes({0xd83d, 0xde00}) << fromCodes({0xd83d, 0xde00});
    QTest::newRow("last pair") << fromCodes({0xdbff, 0xdfff}) << fromCodes({0xdbff, 0xdfff});
    QTest::newRow("pair the wrong way round")
        << fromCodes({0xde00, 0xd83d}) << fromCodes({mark, mark});
    QTest::newRow("two high ones and a low one")
        << fromCodes({0xd83d, 0xd83d, 0xde00}) << fromCodes({mark, 0xd83d, 0xde00});
}

void tst_MivoXmlNode::replacesWhatXmlCannotCarry()
{
    QFETCH(QString, text);
    QFETCH(QString, read);
    MivoXmlNode node("a");
    node.insertData(text);
    node.setAttribute("x", text);
    QCOMPARE(node.getData(), text);
    QCOMPARE(node.getAttribute("x"), text);
    const MivoXmlNode again = parsed(node.toXml());
    QCOMPARE(again.getData(), read);
    QCOMPARE(again.getAttribute("x"), read);
}

void tst_MivoXmlNode::everyCodePointIsWrittenAndReadBack_data()
{
    QTest::addColumn<uint>("plane");
    for (uint plane = 0; plane <= 16; ++plane)
        QTest::addRow("plane %u", plane) << plane;
}

void tst_MivoXmlNode::everyCodePointIsWrittenAndReadBack()
{
    QFETCH(uint, plane);
    QString given;
    QString carried;
    QByteArray inText;
    QByteArray inAttribute;
    for (uint code = plane << 16; code < (plane + 1) << 16; ++code) {
        QString character;
        if (code > 0xffff)
            character += QChar(QChar::highSurrogate(code));
        character += code > 0xffff ? QChar(QChar::lowSurrogate(code)) : QChar(ushort(code));
        const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
        const bool isBlank = code == '\t' || code == '\n' || code == '\r';
        const bool isRefused
            = (code < ' ' && !isBlank) || isSurrogate || code == 0xfffe || code == 0xffff;
        // The blank keeps surrogates from making pairs.
        given += character + " ";
        carried += (isRefused ? QString(QChar(0xfffd)) : character) + " ";

        const QByteArray reference = "&#" + QByteArray::number(code) + ";";
        QByteArray text = isRefused ? "\xef\xbf\xbd" : character.toUtf8();
        if (code == '\r' || (code >= 0xfdd0 && code <= 0xfdef)
            || (plane > 0 && ((code & 0xffff) == 0xfffe || (code & 0xffff) == 0xffff)))
            text = reference;
        text = code == '<' ? "&lt;" : code == '>' ? "&gt;" : code == '&' ? "&amp;" : text;
        inText += text + " ";
        inAttribute += (code == '"' ? "&quot;" : isBlank ? reference : text) + " ";
    }
    MivoXmlNode node("a");
    node.setAttribute("b", given);
    node.insertData(given);
    QVERIFY(node.toXml(-1) == "<a b=\"" + inAttribute + "\">" + inText + "</a>");
    const MivoXmlNode again = parsed(node.toXml());
    QVERIFY(again.getAttribute("b") == carried);
    QVERIFY(again.getData() == carried);
}

void tst_MivoXmlNode::piecesOfTextMakeOneText()
{
    MivoXmlNode node("a");
    node.insertData(fromCodes({'x', 0xd83d}));
    const MivoXmlNode between = node.addChild("b");
    node.insertData(fromCodes({0xde00, 'y'}));
    MivoXmlNode("other").appendChild(between);
    QCOMPARE(node.getData(), fromCodes({'x', 0xd83d, 0xde00, 'y'}));
    QCOMPARE(node.toXml(-1), QByteArray("<a>x\xf0\x9f\x98\x80y</a>"));
}

void tst_MivoXmlNode::textComesBackFromXml_data()
{
    QTest::addColumn<QString>("text");
    const char* texts[] = {" ",           "   ",  "\t",    "\n",       "\r",
                           "\r\n",        "\n\r", "\n\na", "a\n\n",    " a ",
                           "a\r\nb",      "\ta",  "a  b",  "&amp;",    "&#13;",
                           "<b/>",        "]]>",  "]]",    "'\"",      "\xf0\x9f\x98\x80",
                           "-->",         "<!--", "<?x?>", "\xc2\xa0", "\xe2\x80\xa8",
                           "\xef\xbb\xbf"};
    for (const char* text : texts)
        textRow(text);
    QTest::newRow("long") << QString(100000, QChar('\r'));
}

void tst_MivoXmlNode::textComesBackFromXml()
{
    QFETCH(QString, text);
    for (const int indent : {-1, 0, 2}) {
        MivoXmlNode root("root");
        MivoXmlNode before = root.addChild("before");
        before.insertData(text);
        before.addChild("child").insertData(text);
        MivoXmlNode after = root.addChild("after");
        after.addChild("child").setAttribute("x", text);
        after.insertData(text);

        const MivoXmlNode again = parsed(root.toXml(indent));
        QVERIFY(!again.hasData());
        QCOMPARE(again.getChild("before").getData(), text);
        QCOMPARE(again.getChild("before").getChild("child").getData(), text);
        QCOMPARE(again.getChild("after").getChild("child").getAttribute("x"), text);
        QCOMPARE(again.getChild("after").getData(), text);
        QCOMPARE(again.toXml(-1), root.toXml(-1));
    }
}

void tst_MivoXmlNode::layoutIsNotData_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("data");
    QTest::newRow("layout") << QByteArray("<a>\n  <b/>\r\n\t</a>") << "";
    QTest::newRow("comment") << QByteArray("<a> <b/> <!-- x --> </a>") << "";
    QTest::newRow("no elements") << QByteArray("<a>\n  </a>") << "\n  ";
    QTest::newRow("comment only") << QByteArray("<a> <!-- x --> </a>") << "  ";
    QTest::newRow("text before") << QByteArray("<a>x\n <b/>\n</a>") << "x\n \n";
    QTest::newRow("text behind") << QByteArray("<a>\n <b/>\nx</a>") << "\n \nx";
    QTest::newRow("CDATA section") << QByteArray("<a>\n<![CDATA[ ]]><b/>\t</a>") << "\n \t";
    QTest::newRow("empty CDATA section") << QByteArray("<a>\n<b/><![CDATA[]]>\t</a>") << "\n\t";
    QTest::newRow("no-break space")
        << QByteArray("<a> <b/>&#160;</a>") << QString::fromUtf8(" \xc2\xa0");
}

void tst_MivoXmlNode::layoutIsNotData()
{
    QFETCH(QByteArray, xml);
    const MivoXmlNode node = parsed(xml);
    QTEST(node.getData(), "data");
    QTEST(parsed(node.toXml()).getData(), "data");
}

void tst_MivoXmlNode::readsForeignXml_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("declaration") << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n")
                                 << QByteArray("<a/>");
    QTest::newRow("byte order mark")
        << QByteArray("\xef\xbb\xbf<a>\xc3\xa9</a>") << QByteArray("<a>\xc3\xa9</a>");
    QTest::newRow("Latin-1") << QByteArray("<?xml version='1.0' encoding='iso-8859-1'?><a>\xe9</a>")
                             << QByteArray("<a>\xc3\xa9</a>");
    QTest::newRow("UTF-16") << QByteArray("\xff\xfe<\0a\0>\0\xe9\0<\0/\0a\0>\0", 18)
                            << QByteArray("<a>\xc3\xa9</a>");
    QTest::newRow("line ends") << QByteArray("<a x='1\r\n2\t3'>1\r\n2\r3\n</a>")
                               << QByteArray("<a x=\"1 2 3\">1\n2\n3\n</a>");
    QTest::newRow("namespaces") << QByteArray("<p:a xmlns:p='urn:x' xmlns='urn:y' p:b='1'/>")
                                << QByteArray("<p:a p:b=\"1\" xmlns=\"urn:y\" xmlns:p=\"urn:x\"/>");
    QTest::newRow("undeclared prefix")
        << QByteArray("<p:a q:b='1'/>") << QByteArray("<p:a q:b=\"1\"/>");
    QTest::newRow("comments and instructions")
        << QByteArray("<!-- 1 --><?x y?><a>b<!-- 2 -->c<?x y?>d</a><!-- 3 -->")
        << QByteArray("<a>bcd</a>");
    QTest::newRow("white space in pieces, then text")
        << QByteArray("<a> <!-- 1 -->\n<b>\n</b>\t<?x?> <!-- 2 --><c> <d/> </c>x \n</a>")
        << QByteArray("<a> \n<b>\n</b>\t <c><d/></c>x \n</a>");
    QTest::newRow("white space in pieces, then an empty section")
        << QByteArray("<a>\t<!-- 1 -->\n<b/> <![CDATA[]]><c/>\n</a>")
        << QByteArray("<a><![CDATA[]]>\t\n<b/> <c/>\n</a>");
    QTest::newRow("character references") << QByteArray("<a>&#128512;&#x9;&#xA;&lt;&apos;</a>")
                                          << QByteArray("<a>\xf0\x9f\x98\x80\t\n&lt;'</a>");
}

void tst_MivoXmlNode::readsForeignXml()
{
    QFETCH(QByteArray, xml);
    QString error = "from an earlier call";
    const MivoXmlNode node = MivoXmlNode::parse(xml, &error);
    QVERIFY2(error.isNull(), qPrintable(error));
    QTEST(node.toXml(-1), "written");
}

void tst_MivoXmlNode::refusesWithLineAndColumn_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const QByteArray& xml, const char* message) {
        QTest::newRow(name) << xml << QString(message);
    };
    row("nothing", "", "line 1, column 1: Premature end of document");
    row("blanks", "  ", "line 1, column 1: Premature end of document");
    row("text", "hello", "line 1, column 1: Start tag expected");
    row("open", "<a>\n<b>\n", "line 3, column 1: Premature end of document (in element \"b\")");
    row("mismatch", "<a>\n  <b></a>",
        "line 2, column 9: Opening and ending tag mismatch (in element \"b\")");
    row("two roots", "<a/>\n<b/>", "line 2, column 4: Extra content at end of document");
    row("attribute twice", "<a b='1' b='2'/>", "line 1, column 16: Attribute 'b' redefined");
    row("control character", "<a>\x01</a>",
        "line 1, column 4: Unexpected a character that XML cannot carry (in element \"a\")");
    row("zero", QByteArray("<a>\0</a>", 8), "line 1, column 4: ");
    const auto withZero = [](QByteArray xml) { return xml.replace('0', '\0'); };
    row("zero in an attribute's name", withZero("<a>\n<b m0n='1'/></a>"),
        "line 2, column 12: Invalid XML name (in element \"b\")");
    row("zero behind a prefix", withZero("<a x:m0n='1' xmlns:x='urn:x'/>"), "line 1, column ");
    row("zero in an element's name", withZero("<a m='1'><b0c/></a>"), "line 1, column ");
    row("zero behind an element's prefix", withZero("<x:b0c xmlns:x='urn:x'/>"), "line 1, column ");
    row("reference to zero", "<a>&#0;</a>",
        "line 1, column 7: Invalid character reference (in element \"a\")");
    row("reference to a surrogate", "<a>&#xD800;</a>",
        "line 1, column 11: Invalid character reference (in element \"a\")");
    row("not UTF-8", "<a>\xff</a>", "line 1, column 2: Encountered incorrectly encoded content");
    row("unknown encoding", "<?xml version='1.0' encoding='x-none'?><a/>",
        "line 1, column 39: Encoding x-none is unsupported");
    row("unknown entity", "<a>&x;</a>",
        "line 1, column 6: Entity 'x' not declared (in element \"a\")");
    row("document type", "<!DOCTYPE a>\n<a/>",
        "line 1, column 12: found a document type declaration, expected the root element");
    row("external entity", "<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>",
        "line 1, column 54: found a document type declaration, expected the root element");
    QByteArray laughs = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
    for (int i = 1; i < 40; ++i) {
        laughs += "<!ENTITY e" + QByteArray::number(i) + " '&e" + QByteArray::number(i - 1) + ";&e"
            + QByteArray::number(i - 1) + ";'>";
    }
    row("entities of entities", laughs + "]><a>&e39;</a>", "line 1, column ");
}

void tst_MivoXmlNode::refusesWithLineAndColumn()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, message);
    QString error;
    QVERIFY(MivoXmlNode::parse(xml, &error).isNull());
    QVERIFY2(error.startsWith(message), qPrintable(error));
    QVERIFY(MivoXmlNode::parse(xml).isNull());
}

void tst_MivoXmlNode::acceptsAtMost256Levels()
{
    const auto nested = [](int levels) {
        return QByteArray("<a>").repeated(levels) + QByteArray("</a>").repeated(levels);
    };
    QString error;
    QVERIFY(!MivoXmlNode::parse(nested(256), &error).isNull());
    QVERIFY(error.isNull());
    for (const int levels : {257, 100000}) {
        QVERIFY(MivoXmlNode::parse(nested(levels), &error).isNull());
        QCOMPARE(error,
                 QString("line 1, column 771: found an element at level 257, expected at "
                         "most 256 levels (in element \"a\")"));
    }
    // Levels are counted, not elements.
    const QByteArray wide = "<a>" + QByteArray("<b><c/></b>").repeated(1000) + "</a>";
    QCOMPARE(parsed(wide).getChildNodes().size(), 1000);
}

void tst_MivoXmlNode::survivesVeryDeepTrees()
{
    const int levels = 300000;
    QByteArray xml;
    {
        MivoXmlNode tree("a");
        for (int i = 1; i < levels; ++i) {
            MivoXmlNode outer("a");
            outer.appendChild(tree);
            tree = outer;
        }
        const MivoXmlNode copy = tree;
        xml = copy.toXml(-1);
        QVERIFY(copy.toXml(0).startsWith("<a>\n<a>\n"));
    }
    QCOMPARE(xml.size(), 7 * (levels - 1) + 4);
    QVERIFY(MivoXmlNode::parse(xml).isNull());
}

void tst_MivoXmlNode::printsOneLineOfXml_data()
{
    QTest::addColumn<MivoXmlNode>("node");
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << MivoXmlNode() << "MivoXmlNode(null) ";
    QTest::newRow("empty") << MivoXmlNode("a") << "<a/> ";
    QTest::newRow("tree") << parsed("<a b='1'>\n <c>text</c>\n</a>")
                          << "<a b=\"1\"><c>text</c></a> ";
    QTest::newRow("text") << parsed("<a>\"\xd0\xb8\xf0\x9f\x98\x80\\\n&amp;</a>")
                          << QString::fromUtf8("<a>\"\xd0\xb8\xf0\x9f\x98\x80\\\n&amp;</a> ");
}

void tst_MivoXmlNode::printsOneLineOfXml()
{
    QFETCH(MivoXmlNode, node);
    QFETCH(QString, text);
    for (const bool spaces : {false, true}) {
        for (const bool quotes : {false, true}) {
            QString printed;
            {
                QDebug stream(&printed);
                stream.setAutoInsertSpaces(spaces);
                (quotes ? stream.quote() : stream.noquote()) << node;
            }
            QCOMPARE(printed, text);
        }
    }
}

void tst_MivoXmlNode::printLeavesTheStreamInSpaceMode()
{
    for (const bool quotes : {false, true}) {
        QString printed;
        {
            QDebug stream(&printed);
            (quotes ? stream.nospace().quote() : stream.nospace().noquote())
                << MivoXmlNode("a") << 1 << QString("x") << MivoXmlNode() << 2;
        }
        QCOMPARE(printed,
                 QString(quotes ? "<a/> 1 \"x\" MivoXmlNode(null) 2 "
                                : "<a/> 1 x MivoXmlNode(null) 2 "));
    }
}

QTEST_APPLESS_MAIN(tst_MivoXmlNode)
#include "tst_mivoxmlnode.moc"
