#include "MivoTimerReceiver.h"

MivoTimerReceiver::~MivoTimerReceiver() = default;
