#ifndef MIVOHOSTLOG_H
#define MIVOHOSTLOG_H

#include "MivoHostGlobal.h"

#include <QString>

/**
 * The host's log: what plug-ins have to tell, and what went wrong in them and could not be reported
 * to a caller. Lines go to standard error until the host sets a writer of its own. All functions
 * may be called from any thread.
 */
class MIVO_HOST_EXPORT MivoHostLog
{
public:
    typedef void (*Writer)(const QString& line);

    static void write(const QString& line);
    /**
     * @p writer is called in the thread that writes, by one at a time, and must not write to the
     * log itself; null stands for standard error.
     */
    static void setWriter(Writer writer);

    /** The message of the exception that is being handled; to be called in a catch block. */
    static QString currentException();
};

#endif
