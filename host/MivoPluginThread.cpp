#include "MivoPluginThread.h"

#include "MivoCallSlotEvent.h"
#include "MivoHostLog.h"
#include "MivoPlugin.h"
#include "MivoWait.h"

#include <QCoreApplication>

MivoPluginThread::MivoPluginThread(const QString& name)
{
    setObjectName(name);
    moveToThread(this);
}

MivoPluginThread::~MivoPluginThread()
{
    stop();
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
    // Called through copies: GCC 12's undefined-behaviour sanitizer miscompiles the direct form.
    MivoPlugin* const target = call->target;
    const MivoCallSlotEvent::Member member = call->member;
    try {
        (target->*member)(call->sender, call->arguments);
    } catch (...) {
        MivoHostLog::write(target->name() + QLatin1String(": a call failed: ")
                           + MivoHostLog::currentException());
    }
    call->wait->setRetValue(call->arguments);
    call->wait->wakeUp(); // From here on the wait object belongs to the caller, who deletes it.
    return true;
}

void MivoPluginThread::run()
{
    exec();
    // Callers that had been accepted before the loop ended still get their answer.
    QCoreApplication::sendPostedEvents(this, MivoCallSlotEvent::EventType);
}
