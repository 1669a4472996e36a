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
    MivoCallSlotTimeoutException();
    MivoCallSlotTimeoutException(const MivoCallSlotTimeoutException& other);
    MivoCallSlotTimeoutException& operator=(const MivoCallSlotTimeoutException& other);
    ~MivoCallSlotTimeoutException() noexcept override;
};

#endif
