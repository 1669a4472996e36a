#include "DisplayText.h"

#include <MivoBuddyContact.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoPresence.h>

#include <algorithm>

namespace {

/** Marks that turn the text after them round, or keep it from being turned. */
bool isDirection(char32_t code)
{
    return code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e)
        || (code >= 0x2066 && code <= 0x2069);
}

bool isUnfit(char32_t code)
{
    switch (QChar::category(code)) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Other_Surrogate:
        return true;
    default:
        return isDirection(code);
    }
}

QString codeOf(char32_t code)
{
    const bool isByte = code >= 0xdc80 && code <= 0xdcff;
    return isByte ? QString("\\x%1").arg(quint32(code) - 0xdc00, 2, 16, QChar('0'))
                  : QString("\\u%1").arg(quint32(code), 4, 16, QChar('0'));
}

/** The texts that the printer of @p buddy writes between double quotes, as they are. */
QStringList printedTexts(const MivoBuddy& buddy)
{
    switch (buddy.getType()) {
    case MivoBuddy::Contact:
        return {MivoBuddyContact(buddy).getDisplay(), MivoBuddyContact(buddy).getId()};
    case MivoBuddy::Merged:
        return {MivoBuddyMerged(buddy).getDisplay(), MivoBuddyMerged(buddy).getId()};
    case MivoBuddy::Temporary:
        return {MivoBuddyTemporary(buddy).getDisplay(), MivoBuddyTemporary(buddy).getId()};
    default:
        return {buddy.getDisplay()};
    }
}

/** A print in several lines, of which only @p texts, between double quotes, are not the printer's. */
QString withOneLineTexts(QString print, QStringList texts)
{
    // One text may hold the other.
    std::sort(texts.begin(), texts.end(),
              [](const QString& a, const QString& b) { return a.size() > b.size(); });
    for (const QString& text : qAsConst(texts))
        print.replace('"' + text + '"', '"' + oneLine(text) + '"');
    QStringList lines = print.split('\n');
    for (QString& line : lines) {
        const bool isIndented = line.startsWith('\t');
        line = (isIndented ? QString('\t') : QString()) + oneLine(line.mid(isIndented ? 1 : 0));
    }
    return lines.join('\n');
}

QString describe(const MivoBuddyResource& resource)
{
    if (!resource.isValid())
        return "MivoArg(BuddyResource: invalid) ";
    return QString("MivoArg(BuddyResource: name=%1 priority=%2 presence=%3) ")
        .arg(quotedOneLine(resource.getName()), QString::number(resource.getPriority()),
             quotedOneLine(resource.getPresence().getDisplay()));
}

QString printed(const MivoArg& value, int level)
{
    switch (value.getType()) {
    case MivoArg::ArgList: {
        if (level > deepestLevel)
            return "MivoArg(ArgList: ...) ";
        QStringList elements;
        const QList<MivoArg> list = value.toArgList();
        for (const MivoArg& element : list)
            elements.append(printed(element, level + 1));
        return "MivoArg(ArgList: (" + elements.join(elements.isEmpty() ? "" : ",  ")
            + (elements.isEmpty() ? ") ) " : ")  ) ");
    }
    case MivoArg::BuddyResource:
        return describe(value.toBuddyResource());
    case MivoArg::Buddy:
        return withOneLineTexts(debugText(value), printedTexts(value.toBuddy()));
    case MivoArg::Presence:
        return withOneLineTexts(debugText(value),
                                {value.toPresence().getId(), value.toPresence().getDisplay()});
    case MivoArg::XmlNode:
        return oneLine(debugText(value).replace('\n', "&#10;").replace('\t', "&#9;"));
    default:
        return oneLine(debugText(value));
    }
}

} // namespace

QString oneLine(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        char32_t code = unit.unicode();
        const bool isPair
            = unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            code = QChar::surrogateToUcs4(unit, text.at(i + 1));
        if (isUnfit(code))
            result += codeOf(code);
        else
            result += text.mid(i, isPair ? 2 : 1);
        i += isPair ? 1 : 0;
    }
    return result;
}

QString quotedOneLine(const QString& text)
{
    QString escaped = text;
    escaped.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + oneLine(escaped) + '"';
}

QString displayText(const MivoArg& value)
{
    QString text = printed(value, 1);
    while (text.endsWith(' '))
        text.chop(1);
    return text;
}
