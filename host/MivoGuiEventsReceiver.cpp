#include "MivoGuiEventsReceiver.h"

MivoGuiEventsReceiver::~MivoGuiEventsReceiver() = default;
