#include "MivoAccountConnection.h"

MivoAccountConnection::MivoAccountConnection(const QString& id, const QString& display,
                                             QObject* parent)
    : QObject(parent)
    , accountId(id)
    , accountDisplay(display)
{
}

MivoAccountConnection::~MivoAccountConnection() = default;

QString MivoAccountConnection::id() const
{
    return accountId;
}

QString MivoAccountConnection::display() const
{
    return accountDisplay;
}
