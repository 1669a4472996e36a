#include "MivoPluginThread.h"

#include "MivoCallSlotEvent.h"
#include "MivoPlugin.h"
#include "MivoPluginCall_p.h"
#include "MivoWait.h"

#include <QCoreApplication>
#include <QMutexLocker>

MivoPluginThread::MivoPluginThread(const QString& name)
    : ownPlugin(nullptr)
    , lostPlugin(nullptr)
{
    setObjectName(name);
    moveToThread(this);
}

MivoPluginThread::~MivoPluginThread()
{
    stop();
    deletePlugin();
}

void MivoPluginThread::setPlugin(MivoPlugin* plugin)
{
    // Directly: it is emitted when the plug-in is already going.
    connect(plugin, SIGNAL(destroyed(QObject*)), this, SLOT(noticeLoss()), Qt::DirectConnection);
    plugin->moveToThread(this);
    QMutexLocker locker(&mutex);
    ownPlugin = plugin;
}

MivoPlugin* MivoPluginThread::plugin() const
{
    QMutexLocker locker(&mutex);
    return ownPlugin;
}

void MivoPluginThread::stop()
{
    quit();
    wait();
}

bool MivoPluginThread::event(QEvent* event)
{
    if (event->type() != MivoCallSlotEvent::EventType)
        return QThread::event(event);

    MivoCallSlotEvent* const call = static_cast<MivoCallSlotEvent*>(event);
    if (isLost(call->target))
        call->arguments.clear();
    else
        mivoCallPlugin(
            call->target, call->member, [this] { return objectName(); }, "a call", call->sender,
            call->arguments);
    call->wait->setRetValue(call->arguments);
    call->wait->wakeUp(); // From here on the wait object belongs to the caller, who deletes it.
    return true;
}

void MivoPluginThread::run()
{
    exec();
    // Callers that had been accepted before the loop ended still get their answer.
    QCoreApplication::sendPostedEvents(this, MivoCallSlotEvent::EventType);
    deletePlugin();
}

/** The plug-in is being destroyed, and not by this thread. */
void MivoPluginThread::noticeLoss()
{
    QMutexLocker locker(&mutex);
    if (!ownPlugin)
        return;
    lostPlugin = ownPlugin;
    ownPlugin = nullptr;
    locker.unlock();
    MivoHostLog::write(objectName()
                       + QLatin1String(": it has deleted itself, which is for its host to do"));
}

bool MivoPluginThread::isLost(const MivoPlugin* called) const
{
    QMutexLocker locker(&mutex);
    return called == lostPlugin;
}

void MivoPluginThread::deletePlugin()
{
    mutex.lock();
    MivoPlugin* const deleted = ownPlugin;
    ownPlugin = nullptr;
    mutex.unlock();
    delete deleted;
}
