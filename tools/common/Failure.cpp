#include "Failure.h"

#include "DisplayText.h"

Failure::Failure(const QString& message)
    : std::runtime_error(oneLine(message).toStdString())
{
}

QString Failure::message() const
{
    return QString::fromUtf8(what());
}
