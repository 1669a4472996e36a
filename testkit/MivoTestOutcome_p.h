#ifndef MIVOTESTOUTCOME_P_H
#define MIVOTESTOUTCOME_P_H

#include "MivoTestOutcome.h"

class QEventLoop;

/** The outcome itself, which both the test and who brings it hold. Used in the test's thread. */
class MivoTestOutcomePrivate
{
public:
    /** To come: @p asked is what was asked for, as the message of the time-out begins. */
    MivoTestOutcomePrivate(const MivoTestPlace& place, const QString& asked, int boundMs);

    /** One that has come already; @p failure is null when it has succeeded. */
    static std::shared_ptr<MivoTestOutcomePrivate> finished(const MivoTestPlace& place,
                                                            const QString& failure);

    /** Does nothing the second time. */
    void finish(const QList<MivoArg>& values, const QString& failure);

    const MivoTestPlace place;
    const QString asked;
    const int boundMs;
    bool isFinished = false;
    bool isLookedAt = false;
    QList<MivoArg> values;
    QString failure;
    QEventLoop* loop = nullptr; // of who waits
};

/** Fails the test function that is running. */
void mivoFail(const QString& message, const MivoTestPlace& place);

#endif
