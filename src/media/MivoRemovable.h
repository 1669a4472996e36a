#ifndef MIVOREMOVABLE_H
#define MIVOREMOVABLE_H

#include "MivoGlobal.h"

/**
 * An object that can say whether it is still in use, so that it may only go once it is not: what
 * MivoGarbageCollector keeps a list of.
 */
class MIVO_DATA_EXPORT MivoRemovable
{
public:
    /**
     * True when nobody uses the object any more. The collector asks from its own thread with its
     * mutex held: an implementation is quick, locks what it reads, and calls nothing of the
     * collector. For an object on the collector's list, answering true means that it has left.
     */
    virtual bool isUnused() = 0;

    virtual ~MivoRemovable();
};

#endif
