#include "MivoSubscriptionType.h"

MivoSubscriptionType::MivoSubscriptionType(const QString& displayName, const QString& identifier,
                                           unsigned int weight, const QString& iconName)
    : display(displayName)
    , id(identifier)
    , priority(weight)
    , icon(iconName)
{
}

MivoSubscriptionType::MivoSubscriptionType(const MivoSubscriptionType& other) = default;

MivoSubscriptionType::~MivoSubscriptionType() = default;

MivoSubscriptionType& MivoSubscriptionType::operator=(const MivoSubscriptionType& other) = default;

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
