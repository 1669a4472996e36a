#include "MivoXmlElement_p.h"
#include "MivoXmlSource_p.h"

#include <QXmlStreamReader>

#include <cstring>
#include <vector>

namespace {

/**
 * Makes equal short texts share their characters: a document has the same few names, values and line
 * breaks over and over again. It forgets what it has not seen for long, so it stays small.
 */
class TextCache
{
public:
    QString text(const QChar* characters, qint64 size);

private:
    static const int maxSize = 24;
    static const int slotCount = 256;

    QString texts[slotCount];
};

QString TextCache::text(const QChar* characters, qint64 size)
{
    if (size == 0)
        return QString(QLatin1String("")); // never null
    if (size > maxSize)
        return QString(characters, static_cast<int>(size));
    uint hash = static_cast<uint>(size);
    for (qint64 i = 0; i < size; ++i)
        hash = hash * 31 + characters[i].unicode();
    QString& known = texts[(hash ^ (hash >> 8)) % slotCount];
    const bool isKnown = known.size() == size
        && std::memcmp(known.constData(), characters, static_cast<size_t>(size) * sizeof(QChar))
            == 0;
    if (!isKnown)
        known = QString(characters, static_cast<int>(size));
    return known;
}

/** Builds the tree of a document. */
class TreeReader
{
public:
    explicit TreeReader(const QByteArray& xml)
        : source(xml, &reader)
    {
        reader.setNamespaceProcessing(false);
    }
    ~TreeReader() { MivoXmlElement::release(root); }

    void read();
    /** What was wrong and where; a null string when nothing was. */
    QString error() const;
    /** The root, whose share passes to the caller; null after an error. */
    MivoXmlElement* takeRoot();

private:
    Q_DISABLE_COPY(TreeReader)

    struct Level
    {
        MivoXmlElement* element;
        size_t blanks; // where its own begin
        bool holdsData; // text that is more than layout
    };

    /** White space, which is layout if its element turns out to hold other elements only. */
    struct Blank
    {
        MivoXmlPiece* behind; // null in front of all
        QString text;
    };

    /** The text of a string of Qt's reader, whose class differs between the generations. */
    template <class Reference>
    QString shared(const Reference& reference)
    {
        return cache.text(reference.constData(), reference.size());
    }

    void checkEncoding();
    void openElement();
    void checkName(const QString& name);
    void addText();
    void keepBlanks();
    void closeElement();

    QXmlStreamReader reader;
    MivoXmlSource source;
    TextCache cache;
    MivoXmlElement* root = nullptr;
    std::vector<Level> levels;
    std::vector<Blank> blanks; // of all levels
};

void TreeReader::read()
{
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartDocument:
            checkEncoding();
            break;
        case QXmlStreamReader::DTD:
            // Nothing that a form needs, and with its entities a small text grows without bound.
            reader.raiseError(
                QLatin1String("found a document type declaration, expected the root element"));
            break;
        case QXmlStreamReader::StartElement:
            openElement();
            break;
        case QXmlStreamReader::Characters:
            if (!levels.empty())
                addText();
            break;
        case QXmlStreamReader::EndElement:
            closeElement();
            break;
        default:
            break;
        }
    }
}

QString TreeReader::error() const
{
    if (!reader.hasError())
        return QString();
    const bool isCut = reader.error() == QXmlStreamReader::PrematureEndOfDocumentError
        && !source.error().isNull();
    QString message = isCut ? source.error() : reader.errorString();
    if (message.endsWith(QLatin1Char('.')))
        message.chop(1);
    // The reader leaves the place empty where it would name such a character.
    message.replace(QLatin1String("''"), QLatin1String("a character that XML cannot carry"));
    if (!levels.empty())
        message += QLatin1String(" (in element \"") + levels.back().element->text
            + QLatin1String("\")");
    return QLatin1String("line ") + QString::number(reader.lineNumber())
        + QLatin1String(", column ") + QString::number(qMax(qint64(1), reader.columnNumber()))
        + QLatin1String(": ") + message;
}

MivoXmlElement* TreeReader::takeRoot()
{
    if (reader.hasError())
        return nullptr;
    MivoXmlElement* const taken = root;
    root = nullptr;
    return taken;
}

void TreeReader::checkEncoding()
{
    const QString encoding = reader.documentEncoding().toString();
    if (!source.canBeGuarded(encoding)) {
        reader.raiseError(QLatin1String("found the encoding ") + encoding
                          + QLatin1String(", expected UTF-8, UTF-16, UTF-32, US-ASCII or one of a "
                                          "byte a character"));
    }
}

void TreeReader::openElement()
{
    if (levels.size() == mivoXmlMaxDepth) {
        reader.raiseError(QLatin1String("found an element at level ")
                          + QString::number(mivoXmlMaxDepth + 1)
                          + QLatin1String(", expected at most ") + QString::number(mivoXmlMaxDepth)
                          + QLatin1String(" levels"));
        return;
    }
    MivoXmlElement* const element = new MivoXmlElement(shared(reader.qualifiedName()));
    if (levels.empty())
        root = element;
    else
        levels.back().element->append(element);
    levels.push_back(Level{element, blanks.size(), false});
    checkName(element->text);
    const QXmlStreamAttributes attributes = reader.attributes();
    element->attributes.reserve(static_cast<int>(attributes.size()));
    for (int i = 0; i < attributes.size(); ++i) {
        const QString name = shared(attributes.at(i).qualifiedName());
        checkName(name);
        element->attributes.set(name, shared(attributes.at(i).value()));
    }
}

void TreeReader::checkName(const QString& name)
{
    // Behind its first character the reader lets a zero pass.
    if (name.contains(QChar(0)))
        reader.raiseError(QLatin1String("Invalid XML name"));
}

void TreeReader::addText()
{
    Level& level = levels.back();
    QString text = shared(reader.text());
    if (!level.holdsData && !reader.isCDATA() && mivoIsXmlSpace(text)) {
        blanks.push_back(Blank{level.element->last, std::move(text)});
        return;
    }
    keepBlanks();
    level.holdsData = true;
    level.element->appendText(text);
}

/** Makes text of the white space of the innermost element. */
void TreeReader::keepBlanks()
{
    // From the last on, so that those at one place keep their order.
    for (; blanks.size() > levels.back().blanks; blanks.pop_back())
        levels.back().element->insert(new MivoXmlPiece(blanks.back().text), blanks.back().behind);
}

void TreeReader::closeElement()
{
    const Level level = levels.back();
    if (!level.element->first)
        keepBlanks();
    blanks.resize(level.blanks);
    levels.pop_back();
}

} // namespace

MivoXmlElement* MivoXmlElement::read(const QByteArray& xml, QString* error)
{
    if (xml.size() > mivoXmlMaxBytes) {
        *error = QLatin1String("line 1, column 1: found a document of ")
            + QString::number(xml.size()) + QLatin1String(" bytes, expected at most ")
            + QString::number(mivoXmlMaxBytes);
        return nullptr;
    }
    TreeReader reader(xml);
    reader.read();
    *error = reader.error();
    return reader.takeRoot();
}
