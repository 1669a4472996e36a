#include "MivoSubscriptionType.h"

#include <utility>

MivoSubscriptionType::MivoSubscriptionType(const QString& displayName, const QString& identifier,
                                           unsigned int weight, const QString& iconName)
    : display(displayName)
    , id(identifier)
    , priority(weight)
    , icon(iconName)
{
}

MivoSubscriptionType::MivoSubscriptionType(const MivoSubscriptionType& other) = default;

MivoSubscriptionType::MivoSubscriptionType(MivoSubscriptionType&& other) noexcept
    : priority(0)
{
    swap(other);
}

MivoSubscriptionType::~MivoSubscriptionType() = default;

MivoSubscriptionType& MivoSubscriptionType::operator=(const MivoSubscriptionType& other) = default;

MivoSubscriptionType& MivoSubscriptionType::operator=(MivoSubscriptionType&& other) noexcept
{
    MivoSubscriptionType taken(std::move(other));
    swap(taken);
    return *this;
}

bool MivoSubscriptionType::isValid() const
{
    return !id.isEmpty() && !display.isEmpty();
}

QString MivoSubscriptionType::getDisplay() const
{
    return display;
}

QString MivoSubscriptionType::getId() const
{
    return id;
}

unsigned int MivoSubscriptionType::getPriority() const
{
    return priority;
}

QString MivoSubscriptionType::getIcon() const
{
    return icon;
}

void MivoSubscriptionType::swap(MivoSubscriptionType& other) noexcept
{
    display.swap(other.display);
    id.swap(other.id);
    std::swap(priority, other.priority);
    icon.swap(other.icon);
}
