#include "MivoCallSlotEvent.h"

MivoCallSlotEvent::MivoCallSlotEvent()
    : QEvent(static_cast<QEvent::Type>(EventType))
    , wait(nullptr)
    , sender(nullptr)
    , target(nullptr)
    , member(nullptr)
{
}

MivoCallSlotEvent::~MivoCallSlotEvent() = default;
