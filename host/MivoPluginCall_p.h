#ifndef MIVOPLUGINCALL_P_H
#define MIVOPLUGINCALL_P_H

#include "MivoHostLog.h"
#include "MivoPlugin.h"

/** The name of @p plugin; that of its class when it cannot tell. */
inline QString mivoNameOf(const MivoPlugin& plugin)
{
    try {
        return plugin.name();
    } catch (...) {
        return QString::fromLatin1(plugin.metaObject()->className());
    }
}

/**
 * Calls a member of a plug-in for an event. What it throws is written to the log: what @p nameOf
 * answers, which is asked only then, and @p what was called.
 *
 * Plug-in and member are copies: GCC 12's undefined-behaviour sanitizer miscompiles a call through
 * the fields of the event. Nothing is touched afterwards, since the member may have deleted the
 * plug-in.
 */
template <class Name, class Member, class... Arguments>
void mivoCallPlugin(MivoPlugin* plugin, Member member, Name nameOf, const char* what,
                    Arguments&... arguments)
{
    try {
        (plugin->*member)(arguments...);
    } catch (...) {
        const QString reason = MivoHostLog::currentException();
        MivoHostLog::write(
            QString::fromLatin1("%1: %2 failed: %3").arg(nameOf(), QLatin1String(what), reason));
    }
}

#endif
