#ifndef MIVOWAIT_H
#define MIVOWAIT_H

#include "MivoCallSlotEvent.h"

#include <QWaitCondition>

class MivoWaitEvent;
class QObject;
class QThread;

/**
 * The meeting point of two threads in one synchronous call: one asks and blocks, the other answers
 * with a list of values and wakes it.
 *
 * An object serves exactly one call: once woken, it stays woken. wait() and wakeUp() may be called
 * from different threads at once. The result list has no lock of its own and needs none, since it
 * is written before wakeUp() and read after wait() has returned true.
 */
class MIVO_DATA_EXPORT MivoWait
{
public:
    MivoWait();
    ~MivoWait();

    /**
     * Blocks until wakeUp() is called, or has been called before, for at most @p ms milliseconds
     * (ULONG_MAX: without limit). Returns true when woken and false when the time was up. A
     * spurious wake-up counts as one.
     */
    bool wait(unsigned long ms);
    void wakeUp();

    /**
     * Replaces the result. Not to be called after wakeUp(): from then on the object belongs to the
     * asking side, which may have deleted it.
     */
    void setRetValue(QList<MivoArg> values);
    /** Makes @p value the only element of the result. */
    void setRetValue(MivoArg value);
    /** A copy of the result. */
    QList<MivoArg> getRetValue();

    /**
     * Delivers @p event to @p receiver and returns the first value of the answer, an empty one when
     * there is none. In the receiver's own thread the event is delivered at once and deleted;
     * otherwise it is posted, Qt deletes it, and the caller blocks without limit until the receiver
     * has called wakeUp(). The event's MivoWait, allocated with new, is taken over and deleted in
     * either case.
     */
    static MivoArg sendMessage(MivoWaitEvent* event, QObject* receiver);

    /**
     * Calls @p member on @p target in @p thread and returns the arguments as the member left them.
     * In @p thread itself the member is called directly, and what it throws passes through.
     * Otherwise a MivoCallSlotEvent is posted to the QThread object, which must live in the thread
     * it runs, and the caller blocks.
     *
     * Throws MivoCallSlotTimeoutException when there is no answer within 30000 ms. The posted event
     * is not taken back: the member may still be called, so that @p target and @p sender must
     * outlive the thread. Its answer is then lost, and the MivoWait that it goes to is leaked on
     * purpose.
     */
    static QList<MivoArg> callSlot(MivoPlugin* target, MivoCallSlotEvent::Member member,
                                   MivoPlugin* sender, const QList<MivoArg>& arguments,
                                   QThread* thread);

private:
    Q_DISABLE_COPY(MivoWait)

    bool woken;
    QWaitCondition condition;
    QMutex mutex;
    QList<MivoArg> retValue;
};

#endif
