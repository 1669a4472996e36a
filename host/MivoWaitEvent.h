#ifndef MIVOWAITEVENT_H
#define MIVOWAITEVENT_H

#include "MivoHostGlobal.h"

#include <QEvent>

class MivoWait;

/**
 * A request that MivoWait::sendMessage() delivers. The receiver answers through `wait`: it sets the
 * result (MivoWait::setRetValue) and wakes the sender (MivoWait::wakeUp); it deletes neither.
 */
class MIVO_HOST_EXPORT MivoWaitEvent : public QEvent
{
public:
    /** @p wait is allocated with new; MivoWait::sendMessage() takes it over. */
    MivoWaitEvent(QEvent::Type type, MivoWait* wait);
    ~MivoWaitEvent() override;

    MivoWait* wait;

private:
    Q_DISABLE_COPY(MivoWaitEvent)
};

#endif
