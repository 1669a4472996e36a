#include "ValueText.h"

#include "DisplayText.h"

#include <MivoService.h>
#include <MivoVideoClip.h>
#include <MivoXmlNode.h>

#include <QVector>

#include <cmath>
#include <limits>

namespace {

/** A stretch of the text without its escapes; `at` holds the position of each character. */
struct Piece
{
    QString text;
    QVector<int> at;
    int start = 0;

    int positionOf(int index) const
    {
        return index < at.size() ? at.at(index) : start + int(at.size());
    }
};

class ValueParser
{
public:
    explicit ValueParser(const QString& parsedText)
        : text(parsedText)
    {
    }

    MivoArg parse()
    {
        // Values are text: what is allowed in the name of a file is not in them.
        for (int i = 0; i < text.size(); ++i) {
            if (text.at(i).isLowSurrogate() && (i == 0 || !text.at(i - 1).isHighSurrogate()))
                fail(i, quoted(text.mid(i, 1)), "text in UTF-8");
        }
        const MivoArg value = parseValue();
        if (pos < text.size())
            failAt(pos, "the end of the value");
        return value;
    }

    static QStringList names()
    {
        QStringList all;
        for (const Kind* kind = kinds; kind->name; ++kind)
            all.append(kind->name);
        return all;
    }

private:
    struct Kind
    {
        const char* name;
        MivoArg (ValueParser::*parse)();
    };
    static const Kind kinds[];

    [[noreturn]] void fail(int position, const QString& found, const QString& expected) const
    {
        throw ValueTextError(text, position + 1, found, expected);
    }

    [[noreturn]] void failAt(int position, const QString& expected) const
    {
        const QString found = position < text.size() ? quoted(text.mid(position, 1))
                                                     : QString("the end of the text");
        fail(position, found, expected);
    }

    static QString quoted(const QString& found) { return '"' + found + '"'; }

    bool atCharacter(char character) const
    {
        return pos < text.size() && text.at(pos) == QLatin1Char(character);
    }

    MivoArg parseValue()
    {
        const int start = pos;
        while (pos < text.size() && (text.at(pos).isLetterOrNumber()))
            ++pos;
        const QString name = text.mid(start, pos - start);
        for (const Kind* kind = kinds; kind->name; ++kind) {
            if (name != QLatin1String(kind->name))
                continue;
            if (kind->parse != &ValueParser::parseNone) {
                if (!atCharacter(':'))
                    failAt(pos, "\":\" after the kind");
                ++pos;
            }
            return (this->*kind->parse)();
        }
        fail(start,
             name.isEmpty() && start >= text.size() ? QString("the end of the text") : quoted(name),
             "one of the kinds " + names().join(", "));
    }

    MivoArg parseNone() { return MivoArg(); }

    template <class T>
    MivoArg parseInteger()
    {
        return MivoArg(integer<T>());
    }

    template <class T>
    T integer()
    {
        const Piece piece = scalar();
        const T lowest = std::numeric_limits<T>::min();
        const T highest = std::numeric_limits<T>::max();
        const QString expected = QString("a whole number from %1 to %2").arg(+lowest).arg(+highest);

        int i = 0;
        if (i < piece.text.size() && (piece.text.at(i) == '-' || piece.text.at(i) == '+'))
            ++i;
        const int firstDigit = i;
        while (i < piece.text.size() && piece.text.at(i) >= '0' && piece.text.at(i) <= '9')
            ++i;
        if (i < piece.text.size() || i == firstDigit)
            failIn(piece, i, expected);

        bool fits = false;
        if (std::is_signed<T>::value) {
            const qlonglong value = piece.text.toLongLong(&fits, 10);
            if (fits && value >= qlonglong(lowest) && value <= qlonglong(highest))
                return static_cast<T>(value);
        } else {
            const bool isNegative = piece.text.startsWith('-');
            const qulonglong value = piece.text.mid(firstDigit).toULongLong(&fits, 10);
            if (fits && value <= qulonglong(highest) && (!isNegative || value == 0))
                return static_cast<T>(value);
        }
        fail(piece.start, quoted(piece.text), expected);
    }

    template <class T>
    MivoArg parseReal()
    {
        const Piece piece = scalar();
        bool ok = false;
        const double value = piece.text.toDouble(&ok); // in the C locale, without group separators
        const bool fits
            = !std::isfinite(value) || std::fabs(value) <= double(std::numeric_limits<T>::max());
        if (!ok || !fits || piece.text != piece.text.trimmed())
            fail(piece.start, quoted(piece.text),
                 QString("a number of magnitude up to %1, inf or nan")
                     .arg(double(std::numeric_limits<T>::max())));
        return MivoArg(static_cast<T>(value));
    }

    MivoArg parseBool()
    {
        const Piece piece = scalar();
        if (piece.text != "true" && piece.text != "false")
            fail(piece.start, quoted(piece.text), "true or false");
        return MivoArg(piece.text == "true");
    }

    MivoArg parseChar()
    {
        const Piece piece = scalar();
        if (piece.text.size() != 1 || piece.text.at(0).unicode() > 0xff)
            fail(piece.start, quoted(piece.text), "one Latin-1 character");
        return MivoArg(static_cast<char>(piece.text.at(0).unicode()));
    }

    MivoArg parseString() { return MivoArg(scalar().text); }

    MivoArg parsePointer() { return MivoArg(pointer(scalar())); }

    MivoArg parseStringList()
    {
        QStringList strings;
        parseItems([&] { strings.append(item().text); });
        return MivoArg(strings);
    }

    MivoArg parsePointerList()
    {
        QList<void*> pointers;
        parseItems([&] { pointers.append(pointer(item())); });
        return MivoArg(pointers);
    }

    MivoArg parseXml()
    {
        const Piece piece = scalar();
        QString error;
        const MivoXmlNode node = MivoXmlNode::parse(piece.text.toUtf8(), &error);
        if (node.isNull())
            fail(piece.start, quoted(piece.text), "an XML element (" + error + ')');
        return MivoArg(node);
    }

    MivoArg parseVideoClip()
    {
        MivoVideoClip clip;
        inBrackets([&] {
            clip.width = integer<int>();
            skip(',');
            clip.height = integer<int>();
            skip(',');
            clip.framesPerSecond = integer<int>();
            skip(',');
            clip.durationMs = integer<unsigned long long>();
            skip(',');
            clip.source = item().text;
        });
        return MivoArg(clip);
    }

    MivoService service()
    {
        MivoService parsed;
        inBrackets([&] {
            const QString name = item().text;
            skip(',');
            const QString displayName = item().text;
            skip(',');
            parsed = MivoService(name, displayName, item().text, MivoPluginAction());
        });
        return parsed;
    }

    MivoArg parseService() { return MivoArg(service()); }

    MivoArg parseServiceList()
    {
        QList<MivoService> services;
        requireAt('[');
        parseItems([&] { services.append(service()); });
        return MivoArg(services);
    }

    MivoArg parseList()
    {
        requireAt('[');
        if (depth >= deepestLevel)
            fail(pos, QString("a list at level %1").arg(depth + 1),
                 QString("at most %1 levels").arg(deepestLevel));
        QList<MivoArg> values;
        parseItems([&] { values.append(parseValue()); });
        return MivoArg(values);
    }

    void requireAt(char character) const
    {
        if (!atCharacter(character))
            failAt(pos, quoted(QChar(character)));
    }

    void skip(char character)
    {
        requireAt(character);
        ++pos;
    }

    /** A value of several parts, which @p parseParts reads. */
    template <class ParseParts>
    void inBrackets(ParseParts parseParts)
    {
        skip('[');
        ++depth;
        parseParts();
        --depth;
        skip(']');
    }

    /** The items of a list, in brackets or, outside all lists, up to the end of the text. */
    template <class ParseItem>
    void parseItems(ParseItem parseItem)
    {
        const bool inBrackets = atCharacter('[');
        if (!inBrackets && depth > 0)
            failAt(pos, "\"[\"");
        if (inBrackets)
            ++pos;
        ++depth;
        const bool isEmpty = inBrackets ? atCharacter(']') : pos >= text.size();
        if (!isEmpty) {
            parseItem();
            for (; atCharacter(','); parseItem())
                ++pos;
        }
        --depth;
        if (inBrackets) {
            if (!atCharacter(']'))
                failAt(pos, "\",\" or \"]\"");
            ++pos;
        }
    }

    /** The rest of the text outside of lists, where it stands for itself; an item inside of one. */
    Piece scalar()
    {
        if (depth > 0)
            return item();
        Piece piece;
        piece.start = pos;
        for (; pos < text.size(); ++pos) {
            piece.text.append(text.at(pos));
            piece.at.append(pos);
        }
        return piece;
    }

    /** Up to the next comma or bracket that no backslash precedes. */
    Piece item()
    {
        static const QString special("\\,[]");
        Piece piece;
        piece.start = pos;
        for (; pos < text.size() && !atCharacter(',') && !atCharacter(']'); ++pos) {
            const int start = pos;
            if (atCharacter('\\')) {
                ++pos;
                if (pos >= text.size() || !special.contains(text.at(pos)))
                    failAt(pos, "one of \\ , [ and ] after a backslash");
            }
            piece.text.append(text.at(pos));
            piece.at.append(start);
        }
        return piece;
    }

    void* pointer(const Piece& piece) const
    {
        bool ok = false;
        const qulonglong address = piece.text.mid(2).toULongLong(&ok, 16);
        if (!piece.text.startsWith("0x") || !ok || address > std::numeric_limits<quintptr>::max())
            fail(piece.start, quoted(piece.text), "an address such as 0x1f");
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address is what was asked for
        return reinterpret_cast<void*>(static_cast<quintptr>(address));
    }

    [[noreturn]] void failIn(const Piece& piece, int index, const QString& expected) const
    {
        const int position = piece.positionOf(index);
        fail(position,
             index < piece.text.size()
                 ? quoted(piece.text.mid(index, 1))
                 : QString(position < text.size() ? "nothing" : "the end of the text"),
             expected);
    }

    QString text;
    int pos = 0;
    int depth = 0;
};

const ValueParser::Kind ValueParser::kinds[] = {
    {"none", &ValueParser::parseNone},
    {"char", &ValueParser::parseChar},
    {"uchar", &ValueParser::parseInteger<unsigned char>},
    {"int", &ValueParser::parseInteger<int>},
    {"uint", &ValueParser::parseInteger<unsigned int>},
    {"int64", &ValueParser::parseInteger<long long>},
    {"uint64", &ValueParser::parseInteger<unsigned long long>},
    {"float", &ValueParser::parseReal<float>},
    {"double", &ValueParser::parseReal<double>},
    {"string", &ValueParser::parseString},
    {"stringlist", &ValueParser::parseStringList},
    {"bool", &ValueParser::parseBool},
    {"pointer", &ValueParser::parsePointer},
    {"pointerlist", &ValueParser::parsePointerList},
    {"xml", &ValueParser::parseXml},
    {"videoclip", &ValueParser::parseVideoClip},
    {"service", &ValueParser::parseService},
    {"servicelist", &ValueParser::parseServiceList},
    {"list", &ValueParser::parseList},
    {nullptr, nullptr},
};

/** As a message shows it: of a long text, the beginning. */
QString shown(const QString& text)
{
    const int longest = 200;
    return oneLine(text.size() > longest ? text.left(longest) + "..." : text);
}

} // namespace

ValueTextError::ValueTextError(const QString& text, int position, const QString& found,
                               const QString& expected)
    : std::runtime_error(
        QString("%1: position %2: found %3; expected %4")
            .arg(shown(text), QString::number(position), shown(found), oneLine(expected))
            .toStdString())
    , errorPosition(position)
{
}

int ValueTextError::position() const
{
    return errorPosition;
}

QStringList valueKinds()
{
    return ValueParser::names();
}

MivoArg valueFromText(const QString& text)
{
    return ValueParser(text).parse();
}
