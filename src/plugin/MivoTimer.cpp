#include "MivoTimer.h"

#include "MivoTimerReceiver.h"
#include "MivoTimer_p.h"

#include <QTimer>

MivoTimer::MivoTimer()
    : d(nullptr)
{
}

void MivoTimer::startTimer(MivoTimerReceiver* receiver, int ms, QString name)
{
    d = new MivoTimerPrivate;
    d->startTimer(receiver, ms, name);
}

void MivoTimer::stopTimer()
{
    if (d)
        d->stopTimer();
}

MivoTimerPrivate::MivoTimerPrivate()
    : receiver(nullptr)
    , timer(nullptr)
{
}

MivoTimerPrivate::~MivoTimerPrivate() = default;

void MivoTimerPrivate::startTimer(MivoTimerReceiver* calledReceiver, int ms, QString timerName)
{
    if (!calledReceiver)
        return;
    receiver = calledReceiver;
    name = timerName;
    timer = new QTimer;
    timer->setObjectName(name); // until it has fired, for hosts that tell what fires
    connect(timer, SIGNAL(timeout()), this, SLOT(timeout()));
    timer->start(ms);
}

void MivoTimerPrivate::stopTimer()
{
    delete timer;
    timer = nullptr;
    deleteLater();
}

void MivoTimerPrivate::timeout()
{
    // An event loop that starts before the deletion below is served keeps it waiting, and the
    // QTimer ticks in that loop. It is left to itself from here on: only stopTimer() deletes it.
    disconnect(timer, nullptr, this, nullptr);
    timer->setObjectName(QString());
    receiver->onTimer(QString(name));
    deleteLater();
}
