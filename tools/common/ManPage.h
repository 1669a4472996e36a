#ifndef MANPAGE_H
#define MANPAGE_H

#include <QStringList>

/**
 * A manual page of section 1, in the language of man(7), put together from top to bottom. All texts
 * are plain ones: nothing in them is taken for a request of that language.
 */
class ManPage
{
public:
    /** @p summary is what lists of manual pages say of the program, half a sentence. */
    ManPage(const QString& program, const QString& summary);

    /** The ways to call the program, each without its name: words in capitals stand for others. */
    void addSynopsis(const QStringList& usages);
    void addSection(const QString& title);
    void addSubsection(const QString& title);
    /** A paragraph; of several, in a row. */
    void addText(const QString& text);
    void addOption(const QString& usage, const QString& help);

    /** The page as far as it goes. */
    QString text() const;

private:
    QString name;
    QStringList lines;
};

#endif
