#ifndef MIVOGARBAGECOLLECTOR_H
#define MIVOGARBAGECOLLECTOR_H

#include "MivoGlobal.h"

class MivoGarbageCollectorPrivate;
class MivoRemovable;

/**
 * Keeps a list of objects that may only go once nobody uses them, and once a second lets go of one
 * that reports itself unused. Letting go is all it does: it owns none of the objects and deletes
 * none. An object must live as long as it is on the list; it has left the list when the collector
 * has had true from its MivoRemovable::isUnused().
 *
 * The whole process shares getInstance(). The rounds run in the thread that made the collector,
 * which must run an event loop and outlive it. add() and remove() may be called from any thread.
 */
class MIVO_DATA_EXPORT MivoGarbageCollector
{
public:
    /** A collector of its own, whose rounds run in this thread. */
    MivoGarbageCollector();

    /** Ends the collector; the objects on its list are not touched. Call it in its own thread. */
    ~MivoGarbageCollector();

    /** Appends @p removable to the list, a second time if it is there already; ignores null. */
    void add(MivoRemovable* removable);

    /**
     * Asks the collector to end, which it does in the first round that finds the list empty. It
     * does not take anything off the list. A collector that has ended is not replaced; calling
     * add() or remove() on it is an assertion in debug builds and ignored in release builds.
     */
    void remove();

    /**
     * The collector of the process, made by the first call. That call is not locked: make it in one
     * thread, the one in which the rounds are to run, before others use the collector. Null if
     * there is no memory for it; std::bad_alloc if there is none for its parts. Never to be
     * deleted.
     */
    static MivoGarbageCollector* getInstance();

private:
    Q_DISABLE_COPY(MivoGarbageCollector)
    friend class MivoGarbageCollectorPrivate;

    MivoGarbageCollectorPrivate* d;

    static MivoGarbageCollector* instance;
};

#endif
