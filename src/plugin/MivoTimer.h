#ifndef MIVOTIMER_H
#define MIVOTIMER_H

#include "MivoGlobal.h"

#include <QString>

class MivoTimerPrivate;
class MivoTimerReceiver;

/**
 * One timed call-back for code that is no QObject.
 *
 * The receiver is called once, in the thread that started the timer, from that thread's event loop,
 * and must live until then; if the thread ends before, nothing is called. A MivoTimer is only a
 * handle of the timer that it started last: copies refer to the same one, and destroying the handle
 * neither stops nor frees it. Once it has fired, a timer goes on ticking into nothing, at its
 * interval, until its thread ends.
 */
class MIVO_DATA_EXPORT MivoTimer
{
public:
    MivoTimer();

    /**
     * Calls MivoTimerReceiver::onTimer(@p name) after @p ms milliseconds. A timer that was started
     * before runs on independently. With a null receiver nothing is ever called.
     */
    void startTimer(MivoTimerReceiver* receiver, int ms, QString name);

    /**
     * Stops the timer that was started last; does nothing when none was. To be called at most once,
     * from the thread that started the timer, and only while the call-back is still to come: the
     * timer frees itself after it.
     */
    void stopTimer();

private:
    MivoTimerPrivate* d;
};

#endif
