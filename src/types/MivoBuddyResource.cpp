#include "MivoBuddyResource.h"

#include "MivoBuddyResourceType.h"

#include <utility>

MivoBuddyResource::MivoBuddyResource()
    : type(nullptr)
{
}

MivoBuddyResource::MivoBuddyResource(MivoBuddyResourceType* resourceType,
                                     const MivoPresence& resourcePresence)
    : type(resourceType)
    , presence(resourcePresence)
{
}

MivoBuddyResource::MivoBuddyResource(const MivoBuddyResource& other) = default;

MivoBuddyResource::MivoBuddyResource(MivoBuddyResource&& other) noexcept
    : type(std::exchange(other.type, nullptr))
    , presence(std::move(other.presence))
{
}

MivoBuddyResource::~MivoBuddyResource() = default;

MivoBuddyResource& MivoBuddyResource::operator=(const MivoBuddyResource& other) = default;

MivoBuddyResource& MivoBuddyResource::operator=(MivoBuddyResource&& other) noexcept
{
    MivoBuddyResource taken(std::move(other));
    std::swap(type, taken.type);
    std::swap(presence, taken.presence);
    return *this;
}

bool MivoBuddyResource::operator==(const MivoBuddyResource& other) const
{
    return type == other.type;
}

bool MivoBuddyResource::operator!=(const MivoBuddyResource& other) const
{
    return !(*this == other);
}

bool MivoBuddyResource::isValid() const
{
    return type;
}

MivoPresence MivoBuddyResource::getPresence() const
{
    return presence;
}

unsigned int MivoBuddyResource::getPriority() const
{
    return type ? presence.getPriority() : 0xFFFFFFFFU;
}

QString MivoBuddyResource::getName() const
{
    return type ? type->name : QString();
}

QString MivoBuddyResource::getIcon() const
{
    return type ? type->icon : QString();
}
