#ifndef RESOLUTIONSTEPS_H
#define RESOLUTIONSTEPS_H

#include "MivoResolution.h"

/** All sizes of a ladder, by stepping up from the first. */
inline QList<QSize> stepsOf(MivoResolution ladder)
{
    QList<QSize> steps;
    QSize size = ladder.getFirstResolution();
    // An empty ladder answers -1x-1, whose height is no multiple of 16.
    while (size.height() % 16 == 0 && (steps.isEmpty() || steps.last() != size)) {
        steps.append(size);
        size = ladder.getNextResolution(size);
    }
    return steps;
}

#endif
