#include "MivoXmlNode.h"

#include <QtTest>

#include <rapidcheck.h>

#include <cmath>
#include <cstring>

namespace {

/** What an element is meant to hold, apart from any document. */
struct Tree
{
    QString name;
    QMap<QString, QString> attributes;
    struct Piece
    {
        QString text; // or, when there is one, a child
        std::vector<Tree> child;
    };
    std::vector<Piece> pieces;
};

bool isInXml(char32_t code)
{
    return code == 0x9 || code == 0xa || code == 0xd || (code >= 0x20 && code <= 0xd7ff)
        || (code >= 0xe000 && code <= 0xfffd) || (code >= 0x10000 && code <= 0x10ffff);
}

QString fromCodePoints(const std::vector<char32_t>& codes)
{
    QString text;
    for (const char32_t code : codes) {
        if (code > 0xffff) {
            text += QChar(QChar::highSurrogate(code));
            text += QChar(QChar::lowSurrogate(code));
        } else {
            text += QChar(ushort(code));
        }
    }
    return text;
}

rc::Gen<char32_t> codePoint()
{
    const auto range
        = [](char32_t from, char32_t to) { return rc::gen::inRange<char32_t>(from, to + 1); };
    return rc::gen::suchThat(
        rc::gen::weightedOneOf<char32_t>(
            {{6, rc::gen::elementOf(std::u32string(U" \t\n\r"))},
             {3,
              rc::gen::elementOf(std::u32string(U"<>&'\"]![-;#x\u0085\u00a0\u2028\ufeff\ufffd"))},
             {3, range(0x20, 0x7e)},
             {2, range(0x80, 0xffff)},
             {1, range(0x1f600, 0x1f64f)},
             {1, range(0x10000, 0x10ffff)}}),
        isInXml);
}

/** Any text that XML can carry; often short, white space alone or empty. */
rc::Gen<QString> text()
{
    const auto blanks
        = rc::gen::container<std::vector<char32_t>>(rc::gen::elementOf(std::u32string(U" \t\n\r")));
    return rc::gen::map(
        rc::gen::oneOf(rc::gen::container<std::vector<char32_t>>(codePoint()), blanks),
        fromCodePoints);
}

/** Any UTF-16 at all. */
rc::Gen<QString> anyUnits()
{
    const auto unit
        = rc::gen::weightedOneOf<char32_t>({{2, rc::gen::inRange<char32_t>(0, 0x10000)},
                                            {2, rc::gen::inRange<char32_t>(0xd800, 0xe000)},
                                            {1, rc::gen::inRange<char32_t>(0, 0x80)},
                                            {1, rc::gen::inRange<char32_t>(0xfff0, 0x10000)}});
    return rc::gen::map(rc::gen::container<std::vector<char32_t>>(unit), fromCodePoints);
}

rc::Gen<QString> name()
{
    return rc::gen::map(rc::gen::elementOf(std::vector<std::string>{
                            "a", "b", "id", "field", "string", "x:y", "xml:space", "A-b.c_1", "I",
                            "i", "\xc4\xb1", "\xd0\xb8\xd0\xbc\xd1\x8f"}),
                        QString::fromStdString);
}

Tree makeTree(int depth)
{
    Tree tree;
    tree.name = *name();
    const int attributes = *rc::gen::inRange(0, 4);
    for (int i = 0; i < attributes; ++i)
        tree.attributes.insert(*name(), *text());
    const int pieces = depth == 0 ? 1 : *rc::gen::inRange(0, 5);
    for (int i = 0; i < pieces; ++i) {
        Tree::Piece piece;
        if (depth > 0 && *rc::gen::inRange(0, 3) > 0)
            piece.child.push_back(makeTree(depth - 1));
        else
            piece.text = *text();
        tree.pieces.push_back(piece);
    }
    return tree;
}

void build(const Tree& tree, MivoXmlNode& node)
{
    for (auto it = tree.attributes.begin(); it != tree.attributes.end(); ++it)
        node.setAttribute(it.key(), it.value());
    for (const Tree::Piece& piece : tree.pieces) {
        if (piece.child.empty()) {
            node.insertData(piece.text);
        } else {
            MivoXmlNode child = node.addChild(piece.child.front().name);
            build(piece.child.front(), child);
        }
    }
}

void compare(const MivoXmlNode& node, const Tree& tree)
{
    RC_ASSERT(node.name() == tree.name);
    for (auto it = tree.attributes.begin(); it != tree.attributes.end(); ++it) {
        RC_ASSERT(node.getAttribute(it.key()) == it.value());
        RC_ASSERT(!node.getAttribute(it.key()).isNull());
    }
    QString data;
    int count = 0;
    const QList<MivoXmlNode> children = node.getChildNodes();
    for (const Tree::Piece& piece : tree.pieces) {
        data += piece.text;
        if (!piece.child.empty()) {
            RC_ASSERT(count < children.size());
            compare(children.at(count++), piece.child.front());
        }
    }
    RC_ASSERT(children.size() == count);
    RC_ASSERT(node.getData() == data);
    RC_ASSERT(node.hasData() == !data.isEmpty());
}

MivoXmlNode parsed(const QByteArray& xml)
{
    QString error;
    const MivoXmlNode node = MivoXmlNode::parse(xml, &error);
    if (node.isNull())
        RC_FAIL((error + "\n" + xml).toStdString());
    return node;
}

} // namespace

class tst_XmlNodeProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void treesRoundTripAtEveryIndent_data();
    void treesRoundTripAtEveryIndent();
    void anyUtf16IsWrittenWellFormed();
    void everyDoubleReadsBackBitForBit();
    void movingElementsAboutMatchesAModel();
    void damagedXmlIsRefusedOrReadConsistently();
};

void tst_XmlNodeProperty::treesRoundTripAtEveryIndent_data()
{
    QTest::addColumn<QString>("locale");
    for (const char* locale : {"C", "de_DE", "tr_TR"})
        QTest::newRow(locale) << locale;
}

void tst_XmlNodeProperty::treesRoundTripAtEveryIndent()
{
    QFETCH(QString, locale);
    QLocale::setDefault(QLocale(locale));
    const bool held = rc::check([] {
        const Tree tree = makeTree(*rc::gen::inRange(0, 4));
        MivoXmlNode node(tree.name);
        build(tree, node);
        compare(node, tree);
        const QByteArray plain = node.toXml(-1);
        for (const int indent : {-1, 0, 1, 2, 8}) {
            const QByteArray xml = node.toXml(indent);
            const MivoXmlNode again = parsed(xml);
            compare(again, tree);
            RC_ASSERT(again.toXml(indent) == xml);
            RC_ASSERT(again.toXml(-1) == plain);
        }
    });
    QLocale::setDefault(QLocale::c());
    QVERIFY(held);
}

void tst_XmlNodeProperty::anyUtf16IsWrittenWellFormed()
{
    QVERIFY(rc::check([] {
        const QString given = *anyUnits();
        QString carried;
        for (int i = 0; i < given.size(); ++i) {
            const bool isPair = given.at(i).isHighSurrogate() && i + 1 < given.size()
                && given.at(i + 1).isLowSurrogate();
            if (isPair)
                carried += given.at(i++);
            carried += isPair || isInXml(given.at(i).unicode()) ? given.at(i) : QChar(0xfffd);
        }
        MivoXmlNode node("a");
        node.setAttribute("x", given);
        node.insertData(given);
        node.addChild("b").insertData(given);
        RC_ASSERT(node.getData() == given);
        RC_ASSERT(node.getAttribute("x") == given);
        const MivoXmlNode again = parsed(node.toXml());
        RC_ASSERT(again.getAttribute("x") == carried);
        RC_ASSERT(again.getData() == carried);
        RC_ASSERT(again.getChild("b").getData() == carried);
    }));
}

void tst_XmlNodeProperty::everyDoubleReadsBackBitForBit()
{
    QVERIFY(rc::check([] {
        const quint64 bits = *rc::gen::oneOf(
            rc::gen::inRange<quint64>(0, std::numeric_limits<quint64>::max()),
            rc::gen::inRange<quint64>(0, 4096),
            rc::gen::map(rc::gen::inRange<int>(-100000, 100000), [](int hundredths) {
                const double value = hundredths / 100.0;
                quint64 result;
                std::memcpy(&result, &value, sizeof result);
                return result;
            }));
        double value;
        std::memcpy(&value, &bits, sizeof value);
        MivoXmlNode node("a");
        node.setAttribute("x", value);
        const QString text = parsed(node.toXml()).getAttribute("x");
        bool ok = false;
        const double read = QLocale::c().toDouble(text, &ok);
        RC_ASSERT(ok);
        if (std::isnan(value)) {
            RC_ASSERT(text == "nan");
            return;
        }
        quint64 readBits;
        std::memcpy(&readBits, &read, sizeof readBits);
        RC_ASSERT(readBits == bits);
    }));
}

void tst_XmlNodeProperty::movingElementsAboutMatchesAModel()
{
    QVERIFY(rc::check([] {
        // Element i is named "e<i>"; children hold the model, handles may be dropped at any time.
        const int count = 8;
        std::vector<std::vector<int>> children(count);
        std::vector<int> parents(count, -1);
        std::vector<MivoXmlNode> handles;
        handles.reserve(size_t(count));
        for (int i = 0; i < count; ++i)
            handles.push_back(MivoXmlNode(QString("e%1").arg(i)));
        const std::function<QByteArray(int)> model = [&](int element) {
            const QByteArray tag = "e" + QByteArray::number(element);
            QByteArray inner;
            for (const int child : children[size_t(element)])
                inner += model(child);
            return inner.isEmpty() ? "<" + tag + "/>" : "<" + tag + ">" + inner + "</" + tag + ">";
        };
        const int steps = *rc::gen::inRange(0, 40);
        for (int step = 0; step < steps; ++step) {
            const int to = *rc::gen::inRange(0, count);
            const int from = *rc::gen::inRange(0, count);
            if (*rc::gen::inRange(0, 8) == 0)
                handles[size_t(to)] = MivoXmlNode();
            MivoXmlNode target = handles[size_t(to)];
            const MivoXmlNode source = handles[size_t(from)];
            target.appendChild(source);
            bool isAncestor = false;
            for (int i = to; i >= 0; i = parents[size_t(i)])
                isAncestor = isAncestor || i == from;
            if (target.isNull() || source.isNull() || isAncestor)
                continue;
            if (parents[size_t(from)] >= 0) {
                std::vector<int>& siblings = children[size_t(parents[size_t(from)])];
                siblings.erase(std::find(siblings.begin(), siblings.end(), from));
            }
            children[size_t(to)].push_back(from);
            parents[size_t(from)] = to;
        }
        for (int i = 0; i < count; ++i) {
            if (!handles[size_t(i)].isNull())
                RC_ASSERT(handles[size_t(i)].toXml(-1) == model(i));
        }
    }));
}

void tst_XmlNodeProperty::damagedXmlIsRefusedOrReadConsistently()
{
    QVERIFY(rc::check([] {
        const Tree tree = makeTree(2);
        MivoXmlNode node(tree.name);
        build(tree, node);
        QByteArray xml = node.toXml(*rc::gen::inRange(-1, 3));
        const int damages = *rc::gen::inRange(1, 4);
        for (int i = 0; i < damages; ++i) {
            const int at = *rc::gen::inRange(0, int(xml.size()));
            const QByteArray piece = QByteArray::fromStdString(
                *rc::gen::elementOf(std::vector<std::string>{"",     "<",
                                                             ">",    "/",
                                                             "&",    "\"",
                                                             " ",    "=",
                                                             "]]>",  "<![CDATA[",
                                                             "<!--", "-->",
                                                             "a",    "<a>",
                                                             "</a>", "&#0;",
                                                             "&lt;", "<!DOCTYPE a [",
                                                             "\xff", std::string(1, '\0')}));
            xml.replace(at, *rc::gen::inRange(0, 3), piece);
        }
        QString error;
        const MivoXmlNode read = MivoXmlNode::parse(xml, &error);
        RC_ASSERT(read.isNull() == !error.isNull());
        if (read.isNull()) {
            static const QRegularExpression place("^line [1-9][0-9]*, column [1-9][0-9]*: .");
            RC_ASSERT(error.contains(place));
            return;
        }
        const QByteArray written = read.toXml(-1);
        RC_ASSERT(parsed(written).toXml(-1) == written);
        RC_ASSERT(parsed(read.toXml(2)).toXml(-1) == written);
    }));
}

QTEST_APPLESS_MAIN(tst_XmlNodeProperty)
#include "tst_xmlnode_property.moc"
