#ifndef MIVOCALLSLOTEVENT_H
#define MIVOCALLSLOTEVENT_H

#include "MivoArg.h"

#include <QEvent>
#include <QMutex>

class MivoWait;

/**
 * The posted form of MivoWait::callSlot(), which the called thread's QThread object serves: in its
 * event handler it calls `member` on `target` with `sender` and `arguments`, hands the list as the
 * member left it to `wait` (MivoWait::setRetValue) and wakes the caller (MivoWait::wakeUp). Qt
 * deletes the event after delivery. Nothing that the event points to is owned by it.
 */
class MIVO_DATA_EXPORT MivoCallSlotEvent : public QEvent
{
public:
    static constexpr QEvent::Type EventType = QEvent::Type(QEvent::User + 7); ///< 1007
    typedef void (MivoPlugin::*Member)(MivoPlugin* sender, QList<MivoArg>& arguments);

    /** An event whose pointers are null and whose list is empty, to be filled by the caller. */
    MivoCallSlotEvent();
    ~MivoCallSlotEvent() override;

    MivoWait* wait;
    QList<MivoArg> arguments;
    MivoPlugin* sender;
    MivoPlugin* target;
    Member member;
    /** For the host's use; the library never locks it. */
    QMutex mutex;

private:
    Q_DISABLE_COPY(MivoCallSlotEvent)
};

#endif
