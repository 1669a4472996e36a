#include "MivoXmlNode.h"

#include <QDebug>
#include <QDomDocument>
#include <QLocale>
#include <QMap>
#include <QSharedData>
#include <QTextStream>
#include <QVector>
#include <QXmlStreamReader>

#include <cmath>

/**
 * A document, or several between which elements have moved. QtXml leaves dangling pointers in an
 * element that outlives the document it was moved to: documents that handles may connect end
 * together.
 */
class MivoXmlDocuments : public QSharedData
{
public:
    explicit MivoXmlDocuments(const QDomDocument& document) { documents.append(document); }
    ~MivoXmlDocuments();

    /** Makes the documents of both live as long as either. */
    static void join(MivoXmlDocuments* one, MivoXmlDocuments* other);
    /** Lets go of a document from which the last element has been moved. */
    void drop(const QDomDocument& empty);

private:
    Q_DISABLE_COPY(MivoXmlDocuments)

    MivoXmlDocuments* keeper();

    QList<QDomDocument> documents;
    QExplicitlySharedDataPointer<MivoXmlDocuments> joined; // holds the documents, when not null
    int rank = 0; // bounds the length of a chain of joined ones
};

MivoXmlDocuments::~MivoXmlDocuments()
{
    // No handle is left. QtXml ends a tree by recursion, so a very deep one is taken apart first.
    QList<QDomNode> parents;
    for (int i = 0; i < documents.size(); ++i)
        parents.append(documents.at(i));
    while (!parents.isEmpty()) {
        QDomNode parent = parents.takeLast();
        for (QDomNode child = parent.firstChild(); !child.isNull();) {
            const QDomNode next = child.nextSibling();
            if (child.hasChildNodes())
                parents.append(parent.removeChild(child));
            child = next;
        }
    }
}

void MivoXmlDocuments::join(MivoXmlDocuments* one, MivoXmlDocuments* other)
{
    MivoXmlDocuments* to = one->keeper();
    MivoXmlDocuments* from = other->keeper();
    if (to == from)
        return;
    if (to->rank < from->rank)
        qSwap(to, from);
    else if (to->rank == from->rank)
        ++to->rank;
    to->documents += from->documents;
    from->documents.clear();
    from->joined = to;
}

void MivoXmlDocuments::drop(const QDomDocument& empty)
{
    keeper()->documents.removeOne(empty);
}

MivoXmlDocuments* MivoXmlDocuments::keeper()
{
    MivoXmlDocuments* found = this;
    while (found->joined)
        found = found->joined.data();
    return found;
}

namespace {

const int maxDepth = 256;
const int maxIndent = 16;

bool isAsciiNameStart(ushort c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isAsciiNameChar(ushort c)
{
    return isAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/** Whether @p name can be written and will be read again as the name of an element or attribute. */
bool isXmlName(const QString& name)
{
    if (name.isEmpty())
        return false;
    int i = isAsciiNameStart(name.at(0).unicode()) ? 1 : 0;
    while (i > 0 && i < name.size() && isAsciiNameChar(name.at(i).unicode()))
        ++i;
    if (i == name.size())
        return true;

    // Beyond ASCII the reader decides, so that nothing is written that it would refuse.
    QXmlStreamReader reader(QString(QLatin1Char('<') + name + QLatin1String("/>")));
    reader.setNamespaceProcessing(false);
    const bool isWhole = reader.readNextStartElement() && reader.qualifiedName() == name
        && reader.attributes().isEmpty();
    while (!reader.atEnd())
        reader.readNext();
    return isWhole && !reader.hasError();
}

bool isWhiteSpace(ushort c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isWhiteSpace(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!isWhiteSpace(text.at(i).unicode()))
            return false;
    }
    return true;
}

/** The decimal text of @p value, which is 0 or more. */
QString digits(double value)
{
    for (int precision = 15; precision < 17; ++precision) {
        const QString text = QString::number(value, 'g', precision);
        if (QLocale::c().toDouble(text) == value)
            return text;
    }
    return QString::number(value, 'g', 17);
}

/** Adds character data behind what @p element holds. */
void appendText(QDomElement& element, const QString& text)
{
    QDomNode last = element.lastChild();
    if (!last.isText()) {
        // Made empty and filled afterwards, because the global invalid-data policy, which a host
        // may have set, alters or refuses text when a node is made.
        last = element.ownerDocument().createTextNode(QString());
        element.appendChild(last);
    }
    last.toText().appendData(text);
}

void removeText(QDomElement& element)
{
    for (QDomNode node = element.firstChild(); !node.isNull();) {
        const QDomNode next = node.nextSibling();
        if (node.isText())
            element.removeChild(node);
        node = next;
    }
}

/** Builds the tree of a document. QtXml's own parser loses text that is white space alone. */
class TreeReader
{
public:
    explicit TreeReader(const QByteArray& xml)
        : reader(xml)
    {
        reader.setNamespaceProcessing(false);
    }

    /** The document; one without a root after an error. */
    QDomDocument read();
    /** What was wrong and where; a null string when nothing was. */
    QString error() const;

private:
    struct Level
    {
        explicit Level(const QDomElement& levelElement = QDomElement())
            : element(levelElement)
            , holdsElements(false)
            , holdsData(false)
        {
        }

        QDomElement element;
        bool holdsElements;
        bool holdsData; // text that is more than layout
    };

    void openElement();
    void addText();
    void closeElement();

    QXmlStreamReader reader;
    QDomDocument document;
    QVector<Level> levels;
};

QDomDocument TreeReader::read()
{
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD:
            // Nothing that a form needs, and with its entities a small text grows without bound.
            reader.raiseError(
                QLatin1String("found a document type declaration, expected the root element"));
            break;
        case QXmlStreamReader::StartElement:
            openElement();
            break;
        case QXmlStreamReader::Characters:
            if (!levels.isEmpty())
                addText();
            break;
        case QXmlStreamReader::EndElement:
            closeElement();
            break;
        default:
            break;
        }
    }
    return reader.hasError() ? QDomDocument() : document;
}

QString TreeReader::error() const
{
    if (!reader.hasError())
        return QString();
    QString message = reader.errorString();
    if (message.endsWith(QLatin1Char('.')))
        message.chop(1);
    // The reader leaves the place empty where it would name such a character.
    message.replace(QLatin1String("''"), QLatin1String("a character that XML cannot carry"));
    if (!levels.isEmpty()) {
        message += QLatin1String(" (in element \"") + levels.last().element.tagName()
            + QLatin1String("\")");
    }
    return QLatin1String("line ") + QString::number(reader.lineNumber())
        + QLatin1String(", column ") + QString::number(qMax(qint64(1), reader.columnNumber()))
        + QLatin1String(": ") + message;
}

void TreeReader::openElement()
{
    if (levels.size() == maxDepth) {
        reader.raiseError(QLatin1String("found an element at level ")
                          + QString::number(maxDepth + 1) + QLatin1String(", expected at most ")
                          + QString::number(maxDepth) + QLatin1String(" levels"));
        return;
    }
    QDomElement element = document.createElement(reader.qualifiedName().toString());
    const QXmlStreamAttributes attributes = reader.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        element.setAttribute(attributes.at(i).qualifiedName().toString(),
                             attributes.at(i).value().toString());
    }
    if (levels.isEmpty()) {
        document.appendChild(element);
    } else {
        levels.last().element.appendChild(element);
        levels.last().holdsElements = true;
    }
    levels.append(Level(element));
}

void TreeReader::addText()
{
    Level& level = levels.last();
    const QString text = reader.text().toString();
    level.holdsData = level.holdsData || reader.isCDATA() || !isWhiteSpace(text);
    if (!text.isEmpty())
        appendText(level.element, text);
}

void TreeReader::closeElement()
{
    Level& level = levels.last();
    if (level.holdsElements && !level.holdsData)
        removeText(level.element);
    levels.remove(levels.size() - 1);
}

/** Writes an element and all below it, without recursion: a tree may be deeper than the stack. */
class TreeWriter
{
public:
    explicit TreeWriter(int blanksPerLevel)
        : indent(qMin(blanksPerLevel, maxIndent))
    {
    }

    QString write(const QDomElement& root);

private:
    void openElement(const QDomElement& element);
    void closeElement(const QDomElement& element);
    void breakLine();
    void writeAttributes(const QDomElement& element);
    void writeEscaped(const QString& text, bool isAttribute);

    const int indent;
    QString out;
    QVector<bool> inLines; // of each open element: whether its children stand in lines of their own
};

QString TreeWriter::write(const QDomElement& root)
{
    QDomNode node = root;
    for (;;) {
        if (node.isElement()) {
            openElement(node.toElement());
            if (node.hasChildNodes()) {
                node = node.firstChild();
                continue;
            }
        } else if (node.isText()) {
            writeEscaped(node.nodeValue(), false);
        }
        while (node != root && node.nextSibling().isNull()) {
            node = node.parentNode();
            closeElement(node.toElement());
        }
        if (node == root)
            break;
        node = node.nextSibling();
    }
    if (indent >= 0)
        out += QLatin1Char('\n');
    return out;
}

void TreeWriter::openElement(const QDomElement& element)
{
    if (!inLines.isEmpty() && inLines.last())
        breakLine();
    out += QLatin1Char('<') + element.tagName();
    writeAttributes(element);
    if (!element.hasChildNodes()) {
        out += QLatin1String("/>");
        return;
    }

    bool holdsText = false;
    bool holdsData = false;
    for (QDomNode node = element.firstChild(); !node.isNull() && !holdsData;
         node = node.nextSibling()) {
        holdsText = holdsText || node.isText();
        holdsData = node.isText() && !isWhiteSpace(node.nodeValue());
    }
    out += QLatin1Char('>');
    // Keeps white space between elements from being read as layout.
    if (holdsText && !holdsData && !element.firstChildElement().isNull())
        out += QLatin1String("<![CDATA[]]>");
    inLines.append(indent >= 0 && !holdsText);
}

void TreeWriter::closeElement(const QDomElement& element)
{
    const bool wasInLines = inLines.last();
    inLines.remove(inLines.size() - 1);
    if (wasInLines)
        breakLine();
    out += QLatin1String("</") + element.tagName() + QLatin1Char('>');
}

void TreeWriter::breakLine()
{
    // Bounded, or the blanks of a very deep tree would outgrow the memory.
    const int depth = qMin(int(inLines.size()), maxDepth);
    out += QLatin1Char('\n') + QString(int(depth * indent), QLatin1Char(' '));
}

void TreeWriter::writeAttributes(const QDomElement& element)
{
    const QDomNamedNodeMap nodes = element.attributes();
    QMap<QString, QString> sorted; // QtXml's own order changes from run to run
    for (int i = 0; i < nodes.size(); ++i) {
        const QDomNode attribute = nodes.item(i);
        sorted.insert(attribute.nodeName(), attribute.nodeValue());
    }
    QMap<QString, QString>::const_iterator it = sorted.constBegin();
    for (; it != sorted.constEnd(); ++it) {
        out += QLatin1Char(' ') + it.key() + QLatin1String("=\"");
        writeEscaped(it.value(), true);
        out += QLatin1Char('"');
    }
}

void TreeWriter::writeEscaped(const QString& text, bool isAttribute)
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        if (code == '&') {
            out += QLatin1String("&amp;");
        } else if (code == '<') {
            out += QLatin1String("&lt;");
        } else if (code == '>') {
            out += QLatin1String("&gt;");
        } else if (code == '"' && isAttribute) {
            out += QLatin1String("&quot;");
        } else if (code == '\r' || (isAttribute && (code == '\n' || code == '\t'))) {
            // A parser makes line ends line feeds, and in attributes all white space blanks.
            out += QLatin1String("&#") + QString::number(code) + QLatin1Char(';');
        } else if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            out += c;
            out += text.at(++i);
        } else if ((code < ' ' && !isWhiteSpace(code)) || (code >= 0xd800 && code <= 0xdfff)
                   || code >= 0xfffe) {
            out += QChar(QChar::ReplacementCharacter);
        } else {
            out += c;
        }
    }
}

/** The text that writePrinted() is to write. */
thread_local QString printed;

/**
 * QDebug quotes, escapes or recodes every kind of text in one generation of Qt or another. It does
 * lend its text stream to a manipulator, which is given nothing else.
 */
QTextStream& writePrinted(QTextStream& stream)
{
    return stream << printed;
}

} // namespace

MivoXmlNode::MivoXmlNode() = default;

MivoXmlNode::MivoXmlNode(const QString& name, MivoXmlNode* parent)
{
    if (parent && !parent->isNull()) {
        *this = parent->addChild(name);
    } else if (isXmlName(name)) {
        QDomDocument own;
        element = own.createElement(name);
        own.appendChild(element);
        documents = new MivoXmlDocuments(own);
    }
}

MivoXmlNode::MivoXmlNode(const Documents& ownDocuments, const QDomElement& ownElement)
    : documents(ownDocuments)
    , element(ownElement)
{
}

MivoXmlNode::MivoXmlNode(const MivoXmlNode& other) = default;
MivoXmlNode& MivoXmlNode::operator=(const MivoXmlNode& other) = default;
MivoXmlNode::~MivoXmlNode() = default;

bool MivoXmlNode::operator==(const MivoXmlNode& other) const
{
    return element == other.element;
}

bool MivoXmlNode::operator!=(const MivoXmlNode& other) const
{
    return !(*this == other);
}

bool MivoXmlNode::isNull() const
{
    return element.isNull();
}

bool MivoXmlNode::hasData() const
{
    return !getData().isEmpty();
}

QString MivoXmlNode::name() const
{
    return element.tagName();
}

QString MivoXmlNode::getAttribute(const QString& name) const
{
    return element.attribute(name, QString());
}

void MivoXmlNode::setAttribute(const QString& name, const QString& value)
{
    if (!isNull() && isXmlName(name))
        element.setAttribute(name, value.isNull() ? QString(QLatin1String("")) : value);
}

void MivoXmlNode::setAttribute(const QString& name, int value)
{
    setAttribute(name, QString::number(value));
}

void MivoXmlNode::setAttribute(const QString& name, unsigned int value)
{
    setAttribute(name, QString::number(value));
}

void MivoXmlNode::setAttribute(const QString& name, double value)
{
    // The sign is written here: not every generation of Qt writes that of zero.
    QString text = QLatin1String(std::signbit(value) && !std::isnan(value) ? "-" : "");
    if (std::isnan(value))
        text += QLatin1String("nan");
    else if (std::isinf(value))
        text += QLatin1String("inf");
    else
        text += digits(std::fabs(value));
    setAttribute(name, text);
}

QString MivoXmlNode::getData() const
{
    if (isNull())
        return QString();
    QString data = QLatin1String("");
    for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isText())
            data += node.nodeValue();
    }
    return data;
}

void MivoXmlNode::insertData(const QString& data)
{
    if (!isNull() && !data.isEmpty())
        appendText(element, data);
}

MivoXmlNode MivoXmlNode::getChild(const QString& name) const
{
    // QtXml takes an empty name for any name.
    const QDomElement child = name.isEmpty() ? QDomElement() : element.firstChildElement(name);
    return child.isNull() ? MivoXmlNode() : MivoXmlNode(documents, child);
}

QList<MivoXmlNode> MivoXmlNode::getChildNodes() const
{
    QList<MivoXmlNode> children;
    QDomElement child = element.firstChildElement();
    for (; !child.isNull(); child = child.nextSiblingElement())
        children.append(MivoXmlNode(documents, child));
    return children;
}

MivoXmlNode MivoXmlNode::addChild(const QString& name)
{
    if (isNull() || !isXmlName(name))
        return MivoXmlNode();
    const MivoXmlNode child(documents, element.ownerDocument().createElement(name));
    element.appendChild(child.element);
    return child;
}

void MivoXmlNode::appendChild(const MivoXmlNode& child)
{
    if (isNull() || child.isNull())
        return;
    for (QDomNode node = element; !node.isNull(); node = node.parentNode()) {
        if (node == child.element)
            return;
    }
    // QtXml moves an element between documents as it is, so that handles to it stay what they are.
    const QDomDocument source = child.element.ownerDocument();
    MivoXmlDocuments::join(documents.data(), child.documents.data());
    element.appendChild(child.element);
    if (source.documentElement().isNull())
        documents->drop(source);
}

QByteArray MivoXmlNode::toXml(int indent) const
{
    return isNull() ? QByteArray() : TreeWriter(indent).write(element).toUtf8();
}

MivoXmlNode MivoXmlNode::parse(const QByteArray& xml, QString* error)
{
    TreeReader reader(xml);
    const QDomDocument document = reader.read();
    if (error)
        *error = reader.error();
    const QDomElement root = document.documentElement();
    if (root.isNull())
        return MivoXmlNode();
    return MivoXmlNode(Documents(new MivoXmlDocuments(document)), root);
}

QDebug operator<<(QDebug dbg, const MivoXmlNode& node)
{
    printed = node.isNull() ? QString(QLatin1String("MivoXmlNode(null)"))
                            : QString::fromUtf8(node.toXml(-1));
    dbg.nospace() << writePrinted;
    printed.clear();
    return dbg.space();
}
