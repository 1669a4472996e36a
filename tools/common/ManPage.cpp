#include "ManPage.h"

#include <MivoGlobal.h>

#include <QRegularExpression>

namespace {

/** Nothing in the text is taken for a request or a special character. */
QString plain(const QString& text)
{
    QStringList lines = text.split('\n');
    for (QString& line : lines) {
        line.replace('\\', "\\e").replace('-', "\\-").replace('`', "\\(ga").replace('\'', "\\(aq");
        if (line.startsWith('.'))
            line.prepend("\\&");
    }
    return lines.join('\n');
}

/** What is to be typed as it stands in bold, and what stands for something else in italics. */
QString highlighted(QString usage)
{
    static const QRegularExpression names("\\b([A-Z]{2,})\\b");
    static const QRegularExpression options("(--[a-z]+)");
    usage.replace(names, "<I>\\1<R>").replace(options, "<B>\\1<R>");
    return plain(usage).replace("<I>", "\\fI").replace("<B>", "\\fB").replace("<R>", "\\fR");
}

} // namespace

ManPage::ManPage(const QString& program, const QString& summary)
    : name(program)
    , lines({QString(".TH %1 1 \"\" \"libmivo_data %2\" \"User Commands\"")
                 .arg(plain(program.toUpper()), MIVO_VERSION_STR)})
{
    addSection("NAME");
    addText(QString("%1 - %2").arg(program, summary));
}

void ManPage::addSynopsis(const QStringList& usages)
{
    addSection("SYNOPSIS");
    for (int i = 0; i < usages.size(); ++i) {
        if (i > 0)
            lines << ".br";
        lines << QString("\\fB%1\\fR %2").arg(plain(name), highlighted(usages.at(i)));
    }
}

void ManPage::addSection(const QString& title)
{
    lines << ".SH " + plain(title);
}

void ManPage::addSubsection(const QString& title)
{
    lines << ".SS " + plain(title);
}

void ManPage::addText(const QString& text)
{
    if (!lines.last().startsWith(".S"))
        lines << ".PP";
    lines << plain(text);
}

void ManPage::addOption(const QString& usage, const QString& help)
{
    lines << ".TP"
          << ".B " + plain(usage) << plain(help);
}

QString ManPage::text() const
{
    return lines.join('\n');
}
