#include "MivoDispatcher.h"

#include "MivoCallActionEvent.h"
#include "MivoHostLog.h"
#include "MivoPlugin.h"

MivoDispatcher::MivoDispatcher(QObject* parent)
    : QObject(parent)
{
}

MivoDispatcher::~MivoDispatcher() = default;

bool MivoDispatcher::event(QEvent* event)
{
    if (event->type() != MivoCallActionEvent::EventType)
        return QObject::event(event);

    MivoCallActionEvent* const call = static_cast<MivoCallActionEvent*>(event);
    // Called through copies: GCC 12's undefined-behaviour sanitizer miscompiles the direct form.
    MivoPlugin* const plugin = call->plugin;
    const MivoPluginAction::Member member = call->member;
    try {
        (plugin->*member)(call->arguments);
    } catch (...) {
        MivoHostLog::write(plugin->name() + QLatin1String(": an action failed: ")
                           + MivoHostLog::currentException());
    }
    Q_EMIT delivered(plugin);
    return true;
}
