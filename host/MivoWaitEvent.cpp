#include "MivoWaitEvent.h"

MivoWaitEvent::MivoWaitEvent(QEvent::Type type, MivoWait* answeredWait)
    : QEvent(type)
    , wait(answeredWait)
{
}

MivoWaitEvent::~MivoWaitEvent() = default;
