#include "MivoCallSlotEvent.h"

MivoCallSlotEvent::MivoCallSlotEvent()
    : QEvent(EventType)
    , wait(nullptr)
    , sender(nullptr)
    , target(nullptr)
    , member(nullptr)
{
}

MivoCallSlotEvent::~MivoCallSlotEvent() = default;
