#ifndef MIVOBUDDYRESOURCE_H
#define MIVOBUDDYRESOURCE_H

#include "MivoPresence.h"

struct MivoBuddyResourceType;

/**
 * One connected client of a contact, with a presence of its own.
 *
 * A plain value: copies may be used in different threads at once, one object may not. It points at
 * its resource type, which it does not own; without one it is invalid.
 */
class MIVO_DATA_EXPORT MivoBuddyResource
{
public:
    /** An invalid resource with an invalid presence. */
    MivoBuddyResource();
    MivoBuddyResource(MivoBuddyResourceType* type, const MivoPresence& presence);
    MivoBuddyResource(const MivoBuddyResource& other);
    /** Leaves @p other invalid, with an invalid presence. */
    MivoBuddyResource(MivoBuddyResource&& other) noexcept;
    ~MivoBuddyResource();
    MivoBuddyResource& operator=(const MivoBuddyResource& other);
    MivoBuddyResource& operator=(MivoBuddyResource&& other) noexcept;

    /** Whether both are of the same resource type. The presences play no part, on purpose. */
    bool operator==(const MivoBuddyResource& other) const;
    bool operator!=(const MivoBuddyResource& other) const;

    /** Whether there is a resource type. */
    bool isValid() const;

    /** The presence, also of an invalid resource. */
    MivoPresence getPresence() const;
    /** The priority of the presence; 0xFFFFFFFF when invalid, which reads as -1 if signed. */
    unsigned int getPriority() const;
    /** The name of the resource type; null when invalid. */
    QString getName() const;
    /** The icon of the resource type; null when invalid. */
    QString getIcon() const;

private:
    MivoBuddyResourceType* type;
    MivoPresence presence;
};

Q_DECLARE_TYPEINFO(MivoBuddyResource, Q_MOVABLE_TYPE);

#endif
