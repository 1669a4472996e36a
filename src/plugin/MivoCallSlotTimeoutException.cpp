#include "MivoCallSlotTimeoutException.h"

MivoCallSlotTimeoutException::MivoCallSlotTimeoutException() noexcept = default;
MivoCallSlotTimeoutException::MivoCallSlotTimeoutException(
    const MivoCallSlotTimeoutException&) noexcept = default;
MivoCallSlotTimeoutException&
MivoCallSlotTimeoutException::operator=(const MivoCallSlotTimeoutException&) noexcept = default;
MivoCallSlotTimeoutException::~MivoCallSlotTimeoutException() noexcept = default;
