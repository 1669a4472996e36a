#include "MivoBuddyResourceType.h"

MivoBuddyResourceType::MivoBuddyResourceType(const QString& typeName, const QString& iconName)
    : name(typeName)
    , icon(iconName)
{
}
