#include "MivoXmlElement_p.h"

#include <cstring>
#include <vector>

namespace {

const int maxIndent = 16;

bool isSurrogate(uint code)
{
    return code >= 0xd800 && code <= 0xdfff;
}

/** Whether a character that XML can carry would not be read back from its own bytes. */
bool needsReference(uint code, bool isAttribute)
{
    // A parser makes of these line feeds, and in attributes blanks.
    if (code == '\r' || (isAttribute && (code == '\n' || code == '\t')))
        return true;
    // Qt 4.8 neither writes nor reads these in UTF-8.
    return (code >= 0xfdd0 && code <= 0xfdef) || (code > 0xffff && (code & 0xfffe) == 0xfffe);
}

/** Writes an element and all below it, without recursion: a tree may be deeper than the stack. */
class TreeWriter
{
public:
    explicit TreeWriter(int blanksPerLevel)
        : indent(qMin(blanksPerLevel, maxIndent))
    {
    }

    QByteArray write(const MivoXmlElement* root);

private:
    Q_DISABLE_COPY(TreeWriter)

    struct Level
    {
        const MivoXmlElement* element;
        bool inLines; // whether what it holds stands in lines of its own
    };

    void openElement(const MivoXmlElement* element);
    void closeElement();
    const MivoXmlPiece* writeTexts(const MivoXmlPiece* first);
    void breakLine();
    void writeEscaped(const QString& text, bool isAttribute);

    void put(char byte);
    void put(const char* bytes);
    void putCharacter(uint code);
    void putReference(uint code);
    void flush();

    const int indent;
    std::vector<Level> levels;
    QByteArray out;
    char buffer[4096]; // what goes into "out" next
    int used = 0;
};

QByteArray TreeWriter::write(const MivoXmlElement* root)
{
    openElement(root);
    const MivoXmlPiece* piece = root->first;
    while (!levels.empty()) {
        if (!piece) {
            piece = levels.back().element->next;
            closeElement();
        } else if (const MivoXmlElement* const element = piece->element()) {
            openElement(element);
            piece = element->first ? element->first : element->next;
        } else {
            piece = writeTexts(piece);
        }
    }
    if (indent >= 0)
        put('\n');
    flush();
    return out;
}

/** An element that holds nothing is closed at once. */
void TreeWriter::openElement(const MivoXmlElement* element)
{
    if (!levels.empty() && levels.back().inLines)
        breakLine();
    put('<');
    writeEscaped(element->text, false);
    for (const MivoXmlAttributes::Run& run : element->attributes.inOrder()) {
        for (const MivoXmlAttributes::Attribute& attribute : run) {
            put(' ');
            writeEscaped(attribute.name, false);
            put("=\"");
            writeEscaped(attribute.value, true);
            put('"');
        }
    }
    if (!element->first) {
        put("/>");
        return;
    }

    bool holdsElements = false;
    bool holdsText = false;
    bool holdsData = false;
    for (const MivoXmlPiece* piece = element->first; piece && !holdsData; piece = piece->next) {
        if (piece->element()) {
            holdsElements = true;
        } else {
            holdsText = true;
            holdsData = !mivoIsXmlSpace(piece->text);
        }
    }
    put('>');
    // Keeps white space between elements from being read as layout.
    if (holdsElements && holdsText && !holdsData)
        put("<![CDATA[]]>");
    levels.push_back(Level{element, indent >= 0 && !holdsText});
}

void TreeWriter::closeElement()
{
    const Level level = levels.back();
    levels.pop_back();
    if (level.inLines)
        breakLine();
    put("</");
    writeEscaped(level.element->text, false);
    put('>');
}

/** Writes pieces of text that stand side by side, and answers what stands behind them. */
const MivoXmlPiece* TreeWriter::writeTexts(const MivoXmlPiece* first)
{
    QString text = first->text;
    const MivoXmlPiece* piece = first->next;
    // Two may make one character.
    for (; piece && !piece->element(); piece = piece->next)
        text += piece->text;
    writeEscaped(text, false);
    return piece;
}

void TreeWriter::breakLine()
{
    put('\n');
    // Bounded, or the blanks of a very deep tree would outgrow the memory.
    const int depth = qMin(static_cast<int>(levels.size()), mivoXmlMaxDepth);
    for (int i = 0; i < depth * indent; ++i)
        put(' ');
}

void TreeWriter::writeEscaped(const QString& text, bool isAttribute)
{
    const QChar* c = text.constData();
    for (const QChar* const end = c + text.size(); c != end; ++c) {
        uint code = c->unicode();
        if (c->isHighSurrogate() && c + 1 != end && c[1].isLowSurrogate()) {
            code = QChar::surrogateToUcs4(c[0], c[1]);
            ++c;
        }
        if (code == '&')
            put("&amp;");
        else if (code == '<')
            put("&lt;");
        else if (code == '>')
            put("&gt;");
        else if (code == '"' && isAttribute)
            put("&quot;");
        else if (needsReference(code, isAttribute))
            putReference(code);
        else if ((code < ' ' && !mivoIsXmlSpace(static_cast<ushort>(code))) || isSurrogate(code)
                 || code == 0xfffe || code == 0xffff)
            putCharacter(QChar::ReplacementCharacter);
        else
            putCharacter(code);
    }
}

void TreeWriter::put(char byte)
{
    if (used == sizeof buffer)
        flush();
    buffer[used++] = byte;
}

void TreeWriter::put(const char* bytes)
{
    for (; *bytes; ++bytes)
        put(*bytes);
}

void TreeWriter::putCharacter(uint code)
{
    const auto putBits = [this, code](uint mark, int shift, uint mask) {
        put(static_cast<char>(mark | ((code >> shift) & mask)));
    };
    if (code < 0x80) {
        putBits(0, 0, 0x7f);
        return;
    }
    if (code < 0x800) {
        putBits(0xc0, 6, 0x1f);
    } else {
        if (code < 0x10000) {
            putBits(0xe0, 12, 0x0f);
        } else {
            putBits(0xf0, 18, 0x07);
            putBits(0x80, 12, 0x3f);
        }
        putBits(0x80, 6, 0x3f);
    }
    putBits(0x80, 0, 0x3f);
}

void TreeWriter::putReference(uint code)
{
    put("&#");
    put(QByteArray::number(code).constData());
    put(';');
}

void TreeWriter::flush()
{
    out.append(buffer, used);
    used = 0;
}

} // namespace

QByteArray MivoXmlElement::write(int indent) const
{
    return TreeWriter(indent).write(this);
}
