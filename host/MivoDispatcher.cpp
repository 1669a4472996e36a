#include "MivoDispatcher.h"

#include "MivoCallActionEvent.h"
#include "MivoPlugin.h"
#include "MivoPluginCall_p.h"

#include <QMutexLocker>

MivoDispatcher::MivoDispatcher(QObject* parent)
    : QObject(parent)
    , served(nullptr)
{
}

MivoDispatcher::~MivoDispatcher() = default;

bool MivoDispatcher::event(QEvent* event)
{
    if (event->type() != MivoCallActionEvent::EventType)
        return QObject::event(event);

    MivoCallActionEvent* const call = static_cast<MivoCallActionEvent*>(event);
    MivoPlugin* const plugin = call->plugin;
    if (hasGone(plugin)) {
        MivoHostLog::write(QString::fromLatin1("an action is dropped: its plug-in has gone"));
        return true;
    }
    const auto name = [this, plugin] {
        return hasGone(plugin) ? QString::fromLatin1("a plug-in that has gone")
                               : mivoNameOf(*plugin);
    };
    setServedPlugin(plugin);
    mivoCallPlugin(plugin, call->member, name, "an action", call->arguments);
    setServedPlugin(nullptr);
    if (!hasGone(plugin))
        Q_EMIT delivered(plugin);
    return true;
}

const MivoPlugin* MivoDispatcher::servedPlugin() const
{
    QMutexLocker locker(&mutex);
    return served;
}

void MivoDispatcher::forget(QObject* plugin)
{
    QMutexLocker locker(&mutex);
    gone.insert(plugin);
}

void MivoDispatcher::setServedPlugin(const MivoPlugin* plugin)
{
    QMutexLocker locker(&mutex);
    served = plugin;
}

bool MivoDispatcher::hasGone(const MivoPlugin* plugin) const
{
    QMutexLocker locker(&mutex);
    return gone.contains(plugin);
}
