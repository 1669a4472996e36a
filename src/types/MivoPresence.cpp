#include "MivoPresence.h"

#include "MivoPresenceType.h"

#include <utility>

MivoPresence::MivoPresence()
    : type(nullptr)
    , marker(false)
{
}

MivoPresence::MivoPresence(MivoPresenceType* presenceType, const QString& text)
    : type(presenceType)
    , description(text)
    , marker(false)
{
}

MivoPresence::MivoPresence(const MivoPresence& other) = default;

MivoPresence::MivoPresence(MivoPresence&& other) noexcept
    : MivoPresence()
{
    swap(other);
}

MivoPresence::~MivoPresence() = default;

MivoPresence& MivoPresence::operator=(const MivoPresence& other) = default;

MivoPresence& MivoPresence::operator=(MivoPresence&& other) noexcept
{
    MivoPresence taken(std::move(other));
    swap(taken);
    return *this;
}

bool MivoPresence::operator==(const MivoPresence& other) const
{
    return type == other.type && marker == other.marker && description == other.description;
}

bool MivoPresence::operator!=(const MivoPresence& other) const
{
    return !(*this == other);
}

bool MivoPresence::isValid() const
{
    return type;
}

QString MivoPresence::getId() const
{
    return type ? type->id : QString();
}

QString MivoPresence::getDisplay() const
{
    return type ? type->display : QString();
}

QString MivoPresence::getIcon() const
{
    return type ? type->icon : QString();
}

unsigned int MivoPresence::getPriority() const
{
    return type ? type->priority : 0;
}

MivoPresence::Flag MivoPresence::getFlag() const
{
    return type ? type->flag : NoFlag;
}

QString MivoPresence::getDescription() const
{
    return description;
}

void MivoPresence::swap(MivoPresence& other) noexcept
{
    std::swap(type, other.type);
    description.swap(other.description);
    std::swap(marker, other.marker);
}
