#include "MivoCallSlotTimeoutException.h"

MivoCallSlotTimeoutException::MivoCallSlotTimeoutException() = default;
MivoCallSlotTimeoutException::MivoCallSlotTimeoutException(const MivoCallSlotTimeoutException&)
    = default;
MivoCallSlotTimeoutException&
MivoCallSlotTimeoutException::operator=(const MivoCallSlotTimeoutException&)
    = default;
MivoCallSlotTimeoutException::~MivoCallSlotTimeoutException() noexcept = default;
