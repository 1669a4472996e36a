#include "MivoCallActionEvent.h"

QObject* MivoCallActionEvent::dispatcher = nullptr;

MivoCallActionEvent::MivoCallActionEvent(MivoPlugin* calledPlugin,
                                         MivoPluginAction::Member calledMember,
                                         const QList<MivoArg>& callArguments)
    : QEvent(EventType)
    , plugin(calledPlugin)
    , member(calledMember)
    , arguments(callArguments)
{
}

MivoCallActionEvent::~MivoCallActionEvent() = default;
