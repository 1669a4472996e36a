#ifndef MIVOGUIEVENTSRECEIVER_H
#define MIVOGUIEVENTSRECEIVER_H

#include "MivoHostGlobal.h"

/** The base of what receives the events of a user interface; variants carry a pointer to it. */
class MIVO_HOST_EXPORT MivoGuiEventsReceiver
{
public:
    virtual ~MivoGuiEventsReceiver();
};

#endif
