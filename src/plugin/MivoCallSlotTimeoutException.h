#ifndef MIVOCALLSLOTTIMEOUTEXCEPTION_H
#define MIVOCALLSLOTTIMEOUTEXCEPTION_H

#include "MivoGlobal.h"

#include <exception>

/**
 * Thrown by MivoWait::callSlot() when the called thread has not answered in time. Thrown by value,
 * to be caught by reference; it carries no message of its own.
 */
class MIVO_DATA_EXPORT MivoCallSlotTimeoutException : public std::exception
{
public:
    MivoCallSlotTimeoutException() noexcept;
    MivoCallSlotTimeoutException(const MivoCallSlotTimeoutException& other) noexcept;
    MivoCallSlotTimeoutException& operator=(const MivoCallSlotTimeoutException& other) noexcept;
    ~MivoCallSlotTimeoutException() noexcept override;
};

#endif
