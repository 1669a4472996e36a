#ifndef TESTPLUGIN_H
#define TESTPLUGIN_H

#include "MivoArg_p.h"
#include "MivoCallSlotEvent.h"
#include "MivoPlugin.h"
#include "MivoPluginAction.h"
#include "MivoQt_p.h"

#include <QThread>

#include <stdexcept>

/** A plug-in that records how it was called. */
class TestPlugin : public MivoPlugin
{
public:
    MivoArg asArgument() { return MivoArg(this); }

    void act(QList<MivoArg>& arguments)
    {
        ++calls;
        thread = QThread::currentThread();
        seen = arguments;
        arguments.clear();
    }
    void otherAct(QList<MivoArg>&) { ++otherCalls; }

    /** Answers the arguments in reverse, and 7 after them. */
    void ask(MivoPlugin* caller, QList<MivoArg>& arguments)
    {
        ++calls;
        thread = QThread::currentThread();
        sender = caller;
        seen = arguments;
        arguments.clear();
        for (const MivoArg& argument : seen)
            arguments.prepend(argument);
        arguments.append(7);
        seen.clear();
    }
    void askInVain(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments.append(1);
        throw std::domain_error("refused");
    }

    static MivoPluginAction::Member action(void (TestPlugin::*member)(QList<MivoArg>&))
    {
        return static_cast<MivoPluginAction::Member>(member);
    }
    static MivoCallSlotEvent::Member slot(void (TestPlugin::*member)(MivoPlugin*, QList<MivoArg>&))
    {
        return static_cast<MivoCallSlotEvent::Member>(member);
    }

    int calls = 0;
    int otherCalls = 0;
    QThread* thread = nullptr;
    MivoPlugin* sender = nullptr;
    QList<MivoArg> seen;
};

/** How many handles share the value of @p arg, @p arg included. */
inline int handlesOf(const MivoArg& arg)
{
    return mivoLoadAcquire(MivoArgPrivate::get(arg)->ref);
}

#endif
