#ifndef DEBUGTEXT_H
#define DEBUGTEXT_H

#include <QtTest>

/** @file
 * What the debug printers write, in every state in which their stream can arrive, and the table of
 * exact texts in tests/data/printed-text.tsv.
 */

/** A row of the table: what is printed, in words, and the text that it prints. */
struct DebugText
{
    QString testCase;
    QString text;
};

/** The text of a cell: "\n", "\t", "\\" and "\uXXXX" stand for one character each. */
inline QString unescaped(const QString& cell)
{
    QString text;
    for (int i = 0; i < cell.size(); ++i) {
        if (cell.at(i) != QLatin1Char('\\')) {
            text += cell.at(i);
            continue;
        }
        const QChar letter = cell.at(++i);
        if (letter == QLatin1Char('n'))
            text += QLatin1Char('\n');
        else if (letter == QLatin1Char('t'))
            text += QLatin1Char('\t');
        else if (letter == QLatin1Char('u')) {
            text += QChar(cell.mid(i + 1, 4).toUShort(nullptr, 16));
            i += 4;
        } else
            text += letter;
    }
    return text;
}

/** All rows of the table; none if it cannot be read. */
inline QList<DebugText> debugTextTable()
{
    QList<DebugText> rows;
    QFile file(QStringLiteral(MIVO_TEST_DATA_DIR "/printed-text.tsv"));
    if (!file.open(QIODevice::ReadOnly))
        return rows;
    while (!file.atEnd()) {
        QString line = QString::fromUtf8(file.readLine());
        if (line.endsWith(QLatin1Char('\n')))
            line.chop(1);
        const auto tab = line.indexOf(QLatin1Char('\t'));
        rows << DebugText{line.left(tab), unescaped(line.mid(tab + 1))};
    }
    return rows;
}

/**
 * Fails the test function unless @p value prints as @p expected into a stream whose numbers are
 * hexadecimal and padded, and leaves that as it was.
 */
template <class T>
void compareDebugTextInFormattedStream(const T& value, const QString& expected)
{
    QString text;
    QDebug dbg(&text);
    dbg.nospace() << Qt::hex << Qt::showbase << qSetFieldWidth(6) << qSetPadChar('*');
    dbg << value;
    dbg.nospace() << 255;
    QCOMPARE(text, expected + QLatin1String("**0xff"));
}

/**
 * Fails the test function unless @p value prints as @p expected and leaves the stream in space mode
 * and its quoting and number format as they were, with spaces on and off, quoting on and off, and
 * hexadecimal padded numbers. The pieces before and after it are compared as well.
 */
template <class T>
void compareDebugText(const T& value, const QString& expected)
{
    compareDebugTextInFormattedStream(value, expected);
    for (const bool space : {true, false}) {
        for (const bool quote : {true, false}) {
            QString text;
            QDebug dbg(&text);
            dbg.setAutoInsertSpaces(space);
            if (!quote)
                dbg.noquote();
            dbg << "before";
            dbg << value;
            dbg << QStringLiteral("after") << 7;
            QCOMPARE(text,
                     QLatin1String(space ? "before " : "before") + expected
                         + QLatin1String(quote ? "\"after\" 7 " : "after 7 "));
            QVERIFY(dbg.autoInsertSpaces());
        }
    }
}

#endif
