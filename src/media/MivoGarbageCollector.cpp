#include "MivoGarbageCollector.h"
#include "MivoGarbageCollector_p.h"

#include "MivoRemovable.h"

#include <QAbstractEventDispatcher>
#include <QMutexLocker>
#include <QTimer>

#include <memory>
#include <new>

MivoGarbageCollectorPrivate::MivoGarbageCollectorPrivate(MivoGarbageCollector* owner)
    : removeRequested(false)
    , timer(nullptr)
    , collector(owner)
{
    // Short of memory, Qt leaves a connection to an object that never had one half made, and the
    // timer could not be deleted. So this object has had one.
    connect(this, SIGNAL(destroyed()), this, SLOT(timeout()));
    disconnect(this, SIGNAL(destroyed()), this, SLOT(timeout()));

    std::unique_ptr<QTimer> newTimer(new QTimer);
    connect(newTimer.get(), SIGNAL(timeout()), this, SLOT(timeout()));
    try {
        newTimer->start(1000);
    } catch (...) {
        // The event loop may know the timer already, which itself does not know that.
        QAbstractEventDispatcher::instance()->unregisterTimers(newTimer.get());
        throw;
    }
    timer = newTimer.release();
}

MivoGarbageCollectorPrivate::~MivoGarbageCollectorPrivate()
{
    collector->d = nullptr; // so that the collector can be destroyed after its end
    delete timer;
}

void MivoGarbageCollectorPrivate::add(MivoRemovable* removable)
{
    QMutexLocker locker(&mutex);
    if (removable)
        removables.append(removable);
}

void MivoGarbageCollectorPrivate::remove()
{
    QMutexLocker locker(&mutex);
    removeRequested = true;
}

MivoGarbageCollectorPrivate* MivoGarbageCollectorPrivate::get(const MivoGarbageCollector& collector)
{
    return collector.d;
}

void MivoGarbageCollectorPrivate::timeout()
{
    QMutexLocker locker(&mutex);
    const QList<MivoRemovable*> asked = removables;
    for (int i = 0; i < asked.size(); ++i) {
        if (asked.at(i)->isUnused()) {
            // One a round, and not deleted: it belongs to who added it.
            removables.removeOne(asked.at(i));
            return;
        }
    }
    if (removables.isEmpty() && removeRequested)
        deleteLater();
}

MivoGarbageCollector* MivoGarbageCollector::instance = nullptr;

MivoGarbageCollector::MivoGarbageCollector()
    : d(new MivoGarbageCollectorPrivate(this))
{
}

MivoGarbageCollector::~MivoGarbageCollector()
{
    delete d;
}

void MivoGarbageCollector::add(MivoRemovable* removable)
{
    Q_ASSERT_X(d, "MivoGarbageCollector::add", "the collector has ended");
    if (d)
        d->add(removable);
}

void MivoGarbageCollector::remove()
{
    Q_ASSERT_X(d, "MivoGarbageCollector::remove", "the collector has ended");
    if (d)
        d->remove();
}

MivoGarbageCollector* MivoGarbageCollector::getInstance()
{
    if (!instance)
        instance = new (std::nothrow) MivoGarbageCollector;
    return instance;
}
