#ifndef MIVODEBUG_P_H
#define MIVODEBUG_P_H

#include <QDebug>

/** @file
 * Debug text that reads the same on every generation of Qt: see also mivoWriteQuoted() in
 * MivoQt_p.h.
 */

/**
 * Writes @p list in the manner of Qt 4.8: "(", the elements with ", " between them, ")". Each
 * element is written by @p writeElement(QDebug&, const element&). The stream is in space mode
 * afterwards, for which a blank is written; an element that ends in space mode itself puts its
 * successors into it, so that every later piece is followed by a blank too.
 */
template <class List, class WriteElement>
void mivoWriteList(QDebug& dbg, const List& list, WriteElement writeElement)
{
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
