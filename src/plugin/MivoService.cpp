#include "MivoService.h"

#include "MivoDebug_p.h"

#include <utility>

MivoService::MivoService() = default;

MivoService::MivoService(const QString& serviceName, const QString& serviceDisplayName,
                         const QString& serviceProtocol, const MivoPluginAction& serviceAction)
    : name(serviceName)
    , displayName(serviceDisplayName)
    , protocol(serviceProtocol)
    , action(serviceAction)
{
}

MivoService::MivoService(const MivoService&) = default;

MivoService::MivoService(MivoService&& other) noexcept
    : MivoService()
{
    swap(other);
}

MivoService::~MivoService() = default;
MivoService& MivoService::operator=(const MivoService&) = default;

MivoService& MivoService::operator=(MivoService&& other) noexcept
{
    MivoService taken(std::move(other));
    swap(taken);
    return *this;
}

bool MivoService::operator==(const MivoService& other) const
{
    return name == other.name && protocol == other.protocol;
}

bool MivoService::operator!=(const MivoService& other) const
{
    return !(*this == other);
}

bool MivoService::isValid() const
{
    return !name.isEmpty();
}

QString MivoService::getName() const
{
    return name;
}

QString MivoService::getDisplayName() const
{
    return displayName;
}

QString MivoService::getProtocol() const
{
    return protocol;
}

MivoPluginAction MivoService::getAction() const
{
    return action;
}

void MivoService::swap(MivoService& other) noexcept
{
    name.swap(other.name);
    displayName.swap(other.displayName);
    protocol.swap(other.protocol);
    std::swap(action, other.action);
}

QDebug operator<<(QDebug dbg, const MivoService& service)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "name=";
    mivoWriteQuoted(dbg, service.getName());
    dbg << " protocol=";
    mivoWriteQuoted(dbg, service.getProtocol());
    return dbg.space();
}
