#ifndef MIVOPLUGINTHREAD_H
#define MIVOPLUGINTHREAD_H

#include "MivoHostGlobal.h"

#include <QMutex>
#include <QThread>

class MivoPlugin;

/**
 * The thread of a plug-in, with an event loop. The object lives in the thread that it runs, so that
 * the synchronous calls which are posted to it (MivoCallSlotEvent) are made there. What a called
 * member throws is written to the host's log, and the caller gets its list as the member left it.
 * A call of the thread's own plug-in that has gone is not made: it is answered with no values.
 */
class MIVO_HOST_EXPORT MivoPluginThread : public QThread
{
    Q_OBJECT

public:
    /** @p name becomes the object name, which debuggers and logs show. Not yet running. */
    explicit MivoPluginThread(const QString& name);
    /** Stops the thread, and deletes the plug-in if it never ran. */
    ~MivoPluginThread() override;

    /**
     * Takes over a plug-in without parent that lives in the calling thread: it lives in this one
     * from now on, where it is deleted when the event loop has ended, and with it all that its
     * slots have started. To be called once, before the thread is started. A plug-in that deletes
     * itself is reported to the log.
     */
    void setPlugin(MivoPlugin* plugin);
    /** The plug-in, null when there is none or when it has gone. May be called in any thread. */
    MivoPlugin* plugin() const;

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

private Q_SLOTS:
    void noticeLoss();

private:
    bool isLost(const MivoPlugin* called) const;
    void deletePlugin();

    mutable QMutex mutex;
    MivoPlugin* ownPlugin;
    MivoPlugin* lostPlugin; // has deleted itself; only its address is of use
};

#endif
