#ifndef MIVOTIMERRECEIVER_H
#define MIVOTIMERRECEIVER_H

#include "MivoHostGlobal.h"

#include <QString>

/** Receives the call-backs of MivoTimer. The order of its virtual operations is part of the ABI. */
class MIVO_HOST_EXPORT MivoTimerReceiver
{
public:
    virtual ~MivoTimerReceiver();

    /** The timer that was started under @p name has expired; called in the thread that started it.
     */
    virtual void onTimer(const QString& name) = 0;
};

#endif
