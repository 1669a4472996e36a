#pragma once

#include <QString>

struct MivoTimerReceiver
{
    virtual ~MivoTimerReceiver() { }
    virtual void onTimer(QString name) = 0;
};
