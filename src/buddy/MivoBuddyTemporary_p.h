#ifndef MIVOBUDDYTEMPORARY_P_H
#define MIVOBUDDYTEMPORARY_P_H

#include "MivoBuddyGroup.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyTemporary.h"
#include "MivoBuddy_p.h"
#include "MivoPresence.h"

/** The kind record of a temporary contact. */
class MIVO_DATA_EXPORT MivoBuddyTemporaryPrivate
{
public:
    MivoBuddyTemporaryPrivate(MivoAccountConnection* account, const QString& id,
                              const MivoPresence& presence, const MivoBuddyGroup& group);
    ~MivoBuddyTemporaryPrivate();

    /** The record of @p temporary; null for an invalid handle and for one of another kind. */
    static MivoBuddyTemporaryPrivate* get(const MivoBuddy& temporary)
    {
        return MivoBuddyPrivate::kindRecord<MivoBuddyTemporaryPrivate>(temporary,
                                                                       MivoBuddy::Temporary);
    }

    MivoAccountConnection* account; ///< not owned
    QString id;
    MivoPresence presence;
    MivoBuddyGroup group; ///< in a list that threads share, use MivoBuddyPrivate::backLink()
    QList<MivoBuddyResource> resources;

private:
    Q_DISABLE_COPY(MivoBuddyTemporaryPrivate)
};

#endif
