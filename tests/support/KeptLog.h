#ifndef KEPTLOG_H
#define KEPTLOG_H

#include "MivoHostLog.h"

#include <QMutex>
#include <QMutexLocker>
#include <QStringList>

/** Keeps the lines of the host's log, from any thread, for a test to look at. */
class KeptLog
{
public:
    /** From now on all lines of the process are kept, and none is printed. */
    static void start()
    {
        take();
        MivoHostLog::setWriter([](const QString& line) {
            QMutexLocker locker(&mutex());
            lines().append(line);
        });
    }

    /** The lines since the last call. */
    static QStringList take()
    {
        QMutexLocker locker(&mutex());
        const QStringList taken = lines();
        lines().clear();
        return taken;
    }

private:
    static QMutex& mutex()
    {
        static QMutex instance;
        return instance;
    }

    static QStringList& lines()
    {
        static QStringList instance;
        return instance;
    }
};

#endif
