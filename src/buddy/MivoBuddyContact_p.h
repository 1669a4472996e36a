#ifndef MIVOBUDDYCONTACT_P_H
#define MIVOBUDDYCONTACT_P_H

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyType.h"
#include "MivoBuddy_p.h"
#include "MivoField.h"
#include "MivoPresence.h"
#include "MivoSubscriptionType.h"

/** The kind record of a contact. */
class MIVO_DATA_EXPORT MivoBuddyContactPrivate
{
public:
    MivoBuddyContactPrivate(MivoAccountConnection* account, const MivoBuddyType& type,
                            const QString& id, const MivoPresence& presence,
                            const MivoSubscriptionType& subscription);
    ~MivoBuddyContactPrivate();

    /** The record of @p contact; null for an invalid handle and for one of another kind. */
    static MivoBuddyContactPrivate* get(const MivoBuddy& contact)
    {
        return MivoBuddyPrivate::kindRecord<MivoBuddyContactPrivate>(contact, MivoBuddy::Contact);
    }

    MivoAccountConnection* account; ///< not owned
    MivoBuddyType type;
    QString id;
    MivoPresence presence;
    MivoSubscriptionType subscription;
    QList<MivoBuddyResource> resources;
    MivoBuddyResource resource; ///< not used by the library
    QString avatarPath;
    MivoBuddy parent; ///< in a list that threads share, use MivoBuddyPrivate::backLink()
    QHash<QString, MivoField> extraInfo; ///< the contact's own fields, by id
    QHash<QString, MivoArg> attribs;

private:
    Q_DISABLE_COPY(MivoBuddyContactPrivate)
};

#endif
