#ifndef MIVODEBUG_P_H
#define MIVODEBUG_P_H

#include "MivoGlobal.h"

#include <QDebug>
#include <QTextStream>

/** @file
 * Debug text that reads the same on every generation of Qt and in every stream.
 */

/**
 * While it lives, numbers are written in decimal and nothing is padded, whatever base and field
 * width the caller has set on the stream; they are set again at its end. Every printer makes one
 * before it writes.
 */
class MIVO_DATA_EXPORT MivoPlainText
{
public:
    explicit MivoPlainText(QDebug& dbg);
    ~MivoPlainText();

    /** What @p dbg writes to: text goes through as it is, and spacing plays no part. */
    QTextStream& stream() const { return text; }

private:
    Q_DISABLE_COPY(MivoPlainText)

    QTextStream& text;
    const int integerBase;
    const int fieldWidth;
};

/**
 * Writes @p text between double quotes and otherwise unchanged, as Qt 4.8 does; later generations
 * would escape it, or leave the quotes out, depending on the stream's settings. In space mode a
 * blank follows, as after every piece.
 */
inline void mivoWriteQuoted(QDebug& dbg, const QString& text)
{
    const MivoPlainText plain(dbg);
    plain.stream() << '"' << text << '"';
    dbg.maybeSpace();
}

/**
 * Writes @p list in the manner of Qt 4.8: "(", the elements with ", " between them, ")". Each
 * element is written by @p writeElement(QDebug&, const element&). The stream is in space mode
 * afterwards, for which a blank is written; an element that ends in space mode itself puts its
 * successors into it, so that every later piece is followed by a blank too.
 */
template <class List, class WriteElement>
void mivoWriteList(QDebug& dbg, const List& list, WriteElement writeElement)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << '(';
    for (int i = 0; i < list.size(); ++i) {
        if (i > 0)
            dbg << ", ";
        writeElement(dbg, list.at(i));
    }
    dbg << ')';
    dbg.space();
}

#endif
