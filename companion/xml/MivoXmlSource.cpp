#include "MivoXmlElement_p.h"
#include "MivoXmlSource_p.h"

#include <cstring>

namespace {

/** How a document begins that is in UTF-16 or UTF-32. */
struct WideForm
{
    char start[4];
    int startSize;
    int unitSize;
    bool isBigEndian;
};

// The longer ones first: the others can begin like them.
const WideForm wideForms[] = {
    {{'\xff', '\xfe', 0, 0}, 4, 4, false}, {{0, 0, '\xfe', '\xff'}, 4, 4, true},
    {{'<', 0, 0, 0}, 4, 4, false},         {{0, 0, 0, '<'}, 4, 4, true},
    {{'\xff', '\xfe', 0, 0}, 2, 2, false}, {{'\xfe', '\xff', 0, 0}, 2, 2, true},
    {{'<', 0, 0, 0}, 2, 2, false},         {{0, '<', 0, 0}, 2, 2, true},
};

const WideForm* wideFormOf(const QByteArray& document)
{
    for (const WideForm& form : wideForms) {
        if (document.size() >= form.startSize
            && std::memcmp(document.constData(), form.start, static_cast<size_t>(form.startSize))
                == 0)
            return &form;
    }
    return nullptr;
}

const int maxDocumentType = 1000; // bytes, enough for the reader to refuse a plain one by itself
const ushort byteOrderMark = 0xfeff;
const ushort noCharacter = 1; // what XML cannot carry, so that the reader refuses it

/** The text of @p document, with what is no character as one that the reader refuses. */
QString decoded(const QByteArray& document, const WideForm& form)
{
    QString text;
    text.reserve(static_cast<int>(document.size() / form.unitSize) + 1);
    const uchar* unit = reinterpret_cast<const uchar*>(document.constData());
    const uchar* const end = unit + document.size();
    for (; end - unit >= form.unitSize; unit += form.unitSize) {
        uint code = 0;
        for (int i = 0; i < form.unitSize; ++i)
            code = code << 8 | unit[form.isBigEndian ? i : form.unitSize - 1 - i];
        const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
        if (code > 0x10ffff || (isSurrogate && form.unitSize == 4)) {
            text += QChar(noCharacter);
        } else if (code > 0xffff) {
            text += QChar(QChar::highSurrogate(code));
            text += QChar(QChar::lowSurrogate(code));
        } else {
            text += QChar(static_cast<ushort>(code));
        }
    }
    if (unit != end)
        text += QChar(noCharacter);
    for (int i = 0; i < text.size(); ++i) {
        const bool isPair = text.at(i).isHighSurrogate() && i + 1 < text.size()
            && text.at(i + 1).isLowSurrogate();
        if (isPair)
            ++i;
        else if (text.at(i).isHighSurrogate() || text.at(i).isLowSurrogate())
            text[i] = QChar(noCharacter);
    }
    if (text.startsWith(QChar(byteOrderMark)))
        text.remove(0, 1);
    return text;
}

/** The characters of ASCII in @p text as such, the others as any byte that is none. */
QByteArray asciiOf(const QString& text)
{
    QByteArray ascii(text.size(), '\x80');
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i).unicode() < 0x80)
            ascii[i] = static_cast<char>(text.at(i).unicode());
    }
    return ascii;
}

} // namespace

qint64 MivoXmlGuard::allowed(const char* bytes, qint64 size)
{
    for (qint64 i = 0; i < size; ++i) {
        const char c = bytes[i];
        switch (state) {
        case InText: {
            const void* const found = std::memchr(bytes + i, '<', static_cast<size_t>(size - i));
            if (!found)
                return size;
            i = static_cast<const char*>(found) - bytes;
            state = InMarkup;
            break;
        }
        case InMarkup:
            state = c == '!' ? InDeclaration : c == '?' ? InInstruction : InTag;
            quote = 0;
            run = 0;
            attributes = 0;
            break;
        case InDeclaration:
            state = c == '-' ? InCommentStart : c == '[' ? InSection : InDocumentType;
            break;
        case InCommentStart:
            state = InComment;
            break;
        case InComment:
            endBehind(c, '-', 2);
            break;
        case InSection:
            endBehind(c, ']', 2);
            break;
        case InInstruction:
            endBehind(c, '?', 1);
            break;
        case InTag:
            if (quote) {
                if (c == quote)
                    quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                state = InText;
            } else if (c == '=' && ++attributes > mivoXmlMaxAttributes) {
                return i;
            }
            break;
        case InDocumentType:
            if (++documentTypeSize > maxDocumentType)
                return i;
            break;
        }
    }
    return size;
}

void MivoXmlGuard::endBehind(char c, char repeated, int times)
{
    if (c == '>' && run >= times)
        state = InText;
    run = c == repeated ? run + 1 : 0;
}

MivoXmlSource::MivoXmlSource(const QByteArray& document, QXmlStreamReader* reader)
    : bytes(document)
{
    const WideForm* const form = wideFormOf(document);
    isWide = form;
    if (!isWide) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        reader->setDevice(this);
        return;
    }
    QString text = decoded(document, *form);
    const QByteArray ascii = asciiOf(text);
    const qint64 allowed = guard.allowed(ascii.constData(), ascii.size());
    isCut = allowed < ascii.size();
    text.truncate(static_cast<int>(allowed));
    reader->addData(text);
}

QString MivoXmlSource::error() const
{
    if (!isCut)
        return QString();
    if (guard.isInDocumentType())
        return QLatin1String("found a document type declaration, expected the root element");
    return QLatin1String("found more than ") + QString::number(mivoXmlMaxAttributes)
        + QLatin1String(" attributes in a start tag, expected at most that many");
}

bool MivoXmlSource::canBeGuarded(const QString& encoding) const
{
    // The name is one that the reader knows. A wide document has been decoded whatever it declares.
    const QString name = encoding.toLower();
    return isWide || name.isEmpty() || name == QLatin1String("utf-8")
        || name == QLatin1String("utf8") || name == QLatin1String("us-ascii")
        || name.startsWith(QLatin1String("iso-8859-"))
        || name.startsWith(QLatin1String("windows-125")) || name.startsWith(QLatin1String("koi8-"));
}

qint64 MivoXmlSource::readData(char* data, qint64 maxSize)
{
    const qint64 size = qMin(maxSize, bytesAvailable());
    const char* const from = bytes.constData() + position;
    const qint64 allowed = guard.allowed(from, size);
    isCut = allowed < size;
    std::memcpy(data, from, static_cast<size_t>(allowed));
    position += allowed;
    return allowed;
}
