#ifndef MIVOGARBAGECOLLECTOR_P_H
#define MIVOGARBAGECOLLECTOR_P_H

#include "MivoGlobal.h"

#include <QList>
#include <QMutex>
#include <QObject>

class MivoGarbageCollector;
class MivoRemovable;
class QTimer;

/**
 * The working part of MivoGarbageCollector: an object of the thread that made the collector. It
 * ends itself with deleteLater() once that has been asked for and its list is empty.
 *
 * The mutex is held while the removables are asked, so that it comes before whatever isUnused()
 * locks; nothing may take the two the other way round.
 */
class MIVO_DATA_EXPORT MivoGarbageCollectorPrivate : public QObject
{
    Q_OBJECT

public:
    /** Starts the rounds of @p owner, one every 1000 ms. */
    explicit MivoGarbageCollectorPrivate(MivoGarbageCollector* owner);

    ~MivoGarbageCollectorPrivate() override;

    /** Appends @p removable to the list unless it is null. */
    void add(MivoRemovable* removable);

    /** Asks for the end. */
    void remove();

    /** The working part of @p collector, null when it has ended. */
    static MivoGarbageCollectorPrivate* get(const MivoGarbageCollector& collector);

public Q_SLOTS:
    /**
     * One round: takes the first removable that is unused off the list. If there is none, the list
     * is empty and the end has been asked for, the object ends itself.
     */
    void timeout();

public:
    QList<MivoRemovable*> removables; /**< In the order of add(); not owned. */
    bool removeRequested; /**< The collector ends once its list is empty. */
    QMutex mutex; /**< Guards the list and the flag. */
    QTimer* timer; /**< Owned. */

private:
    Q_DISABLE_COPY(MivoGarbageCollectorPrivate)

    MivoGarbageCollector* collector;
};

#endif
