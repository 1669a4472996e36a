#include "MivoPluginAction.h"

#include "MivoCallActionEvent.h"

#include <QCoreApplication>

MivoPluginAction::MivoPluginAction()
    : plugin(nullptr)
    , member(nullptr)
{
}

MivoPluginAction::MivoPluginAction(MivoPlugin* boundPlugin, Member boundMember,
                                   const QList<MivoArg>& storedArguments)
    : plugin(boundPlugin)
    , member(boundMember)
    , arguments(storedArguments)
{
}

MivoPluginAction::MivoPluginAction(const MivoPluginAction&) = default;
MivoPluginAction::~MivoPluginAction() = default;
MivoPluginAction& MivoPluginAction::operator=(const MivoPluginAction&) = default;

bool MivoPluginAction::operator==(const MivoPluginAction& other) const
{
    return plugin == other.plugin && member == other.member && arguments == other.arguments;
}

bool MivoPluginAction::operator!=(const MivoPluginAction& other) const
{
    return !(*this == other);
}

bool MivoPluginAction::isValid() const
{
    return plugin && member;
}

QList<MivoArg> MivoPluginAction::getActionData() const
{
    return arguments;
}

void MivoPluginAction::operator()(QList<MivoArg>& callArguments)
{
    if (!isValid())
        return;
    if (callArguments.isEmpty())
        callArguments = arguments;
    QCoreApplication::postEvent(MivoCallActionEvent::dispatcher,
                                new MivoCallActionEvent(plugin, member, callArguments));
}

void MivoPluginAction::operator()()
{
    QList<MivoArg> storedArguments;
    (*this)(storedArguments);
}
