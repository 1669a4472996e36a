#ifndef MIVOPLUGINTHREAD_H
#define MIVOPLUGINTHREAD_H

#include "MivoHostGlobal.h"

#include <QThread>

/**
 * The thread of a plug-in, with an event loop. The object lives in the thread that it runs, so that
 * the synchronous calls which are posted to it (MivoCallSlotEvent) are made there. What a called
 * member throws is written to the host's log, and the caller gets its list as the member left it.
 */
class MIVO_HOST_EXPORT MivoPluginThread : public QThread
{
    Q_OBJECT

public:
    /** @p name becomes the object name, which debuggers and logs show. Not yet running. */
    explicit MivoPluginThread(const QString& name);
    /** Stops the thread. */
    ~MivoPluginThread() override;

    /**
     * Lets the call that is being made end, makes those that have been posted, and waits until the
     * thread has ended. A call that is posted later is never made: its caller runs into the
     * time-out. Not to be called from the thread itself. Does nothing when the thread is not
     * running.
     */
    void stop();

    bool event(QEvent* event) override;

protected:
    void run() override;
};

#endif
