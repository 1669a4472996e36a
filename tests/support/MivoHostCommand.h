#ifndef MIVOHOSTCOMMAND_H
#define MIVOHOSTCOMMAND_H

#include "CommandOutcome.h"

/** Runs mivo-host. */
inline Outcome mivoHost(const QStringList& arguments, const QString& locale = "C")
{
    return outcomeOf(MIVO_HOST, arguments, locale);
}

#endif
