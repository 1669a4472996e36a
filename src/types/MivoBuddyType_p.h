#ifndef MIVOBUDDYTYPE_P_H
#define MIVOBUDDYTYPE_P_H

#include "MivoBuddyType.h"
#include "MivoField.h"
#include "MivoPresence.h"

#include <QAtomicInt>
#include <QHash>

/**
 * The record that all copies of one contact type share. The plug-in that makes the contact type
 * fills it; the library only reads it. A descriptor must be listed once only in the container that
 * owns it.
 */
class MIVO_DATA_EXPORT MivoBuddyTypePrivate
{
public:
    MivoBuddyTypePrivate();
    /** Leaves the descriptors alone: see MivoBuddyType. */
    ~MivoBuddyTypePrivate();

    /** The record of @p type; null for an invalid one. It stays owned by its handles. */
    static MivoBuddyTypePrivate* get(const MivoBuddyType& type) { return type.d; }

    /**
     * A presence type of that class; null when there is none. With several, the order of the hash
     * decides which.
     */
    MivoPresenceType* getPresenceWithFlag(MivoPresence::Flag flag) const;

    QAtomicInt ref;
    QString id;
    QString display;
    QList<MivoPresenceType*> presenceList; ///< in the plug-in's order; owns nothing
    QHash<QString, MivoPresenceType*> presences; ///< by id; owns them
    QList<MivoSubscriptionType*> subscriptions; ///< owns them
    QList<MivoField> extraInfoFields;

private:
    Q_DISABLE_COPY(MivoBuddyTypePrivate)
};

#endif
