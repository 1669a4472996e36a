#pragma once

#include <QEvent>

class MivoWait;

class MivoWaitEvent : public QEvent
{
public:
    MivoWaitEvent(MivoWait* wait)
        : QEvent(QEvent::User)
        , wait(wait)
    {
    }
    MivoWait* wait;
};
