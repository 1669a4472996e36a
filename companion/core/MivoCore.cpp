#include "MivoCore.h"

namespace {

std::runtime_error error(const QString& message)
{
    return std::runtime_error(message.toUtf8().constData());
}

} // namespace

std::runtime_error mivo_oom(const QString& className)
{
    return error(className + QLatin1String(": out of memory"));
}

std::runtime_error mivo_conversion(const QString& className, const QString& fromKind,
                                   const QString& toKind)
{
    return error(className + QLatin1String(": cannot convert ") + fromKind + QLatin1String(" to ")
                 + toKind);
}
