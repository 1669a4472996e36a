#ifndef DISPLAYTEXT_H
#define DISPLAYTEXT_H

#include <MivoArg.h>

#include <QDebug>

/**
 * @file
 * Text as it is shown to people. What comes from plug-ins, files and arguments may hold anything;
 * nothing of what is made here ends a line, steers a terminal or turns the text after it round.
 */

/** The number of levels that lists in lists are written, read and shown with. */
const int deepestLevel = 256;

/**
 * On one line whatever @p text holds: control characters, line and paragraph separators, half
 * surrogates and marks of writing direction are written as \u and four digits, and a byte of a file
 * name that is no UTF-8 (Files::nameFrom()) as \x and two. Anything else stays, also a backslash.
 */
QString oneLine(const QString& text);

/** Between double quotes, with a backslash before quotes and backslashes, and fit for one line. */
QString quotedOneLine(const QString& text);

/** What the debug printer of @p value writes. */
template <class T>
QString debugText(const T& value)
{
    QString text;
    QDebug(&text) << value;
    return text;
}

/**
 * What the debug printer of @p value writes, without blanks at the end, and with the texts in it as
 * oneLine() makes them: line feeds and tabs are only those that the printer sets. Lists in lists
 * deeper than deepestLevel are cut off with a mark, and resources, which have no printer, are
 * described.
 */
QString displayText(const MivoArg& value);

#endif
