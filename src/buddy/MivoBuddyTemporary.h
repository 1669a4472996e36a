#ifndef MIVOBUDDYTEMPORARY_H
#define MIVOBUDDYTEMPORARY_H

#include "MivoBuddy.h"

#include <QList>

class MivoAccountConnection;
class MivoBuddyGroup;
class MivoBuddyResource;
class MivoPresence;

/**
 * A contact that is not on the roster, such as a stranger who has written a message.
 *
 * Its display name is its id. Sharing is that of MivoBuddy; the account is only pointed to. An
 * invalid handle answers null, a null string, invalid values and an empty list; changing it does
 * nothing. An entry that one thread changes must not be read in another at the same time.
 */
class MIVO_DATA_EXPORT MivoBuddyTemporary : public MivoBuddy
{
public:
    /** An invalid handle. */
    MivoBuddyTemporary();
    /** Remembers @p group without entering it: MivoBuddyGroup::addBuddy() does that. */
    MivoBuddyTemporary(MivoAccountConnection* account, const QString& id,
                       const MivoPresence& presence, const MivoBuddyGroup& group);
    /** The same entry; invalid if @p other is not a temporary contact. */
    MivoBuddyTemporary(const MivoBuddy& other);
    MivoBuddyTemporary(const MivoBuddyTemporary& other);
    MivoBuddyTemporary(MivoBuddyTemporary&& other) noexcept;
    ~MivoBuddyTemporary() override;
    MivoBuddyTemporary& operator=(const MivoBuddyTemporary& other);
    MivoBuddyTemporary& operator=(MivoBuddyTemporary&& other) noexcept;

    MivoAccountConnection* getAccount() const;
    QString getId() const;
    MivoPresence getPresence() const;
    void setPresence(const MivoPresence& presence);
    /** The group given at creation or the one that it was last added to. */
    MivoBuddyGroup getGroup() const;
    /** The connected clients; none at first. */
    QList<MivoBuddyResource> getResources() const;
    void setResources(const QList<MivoBuddyResource>& resources);
};

Q_DECLARE_TYPEINFO(MivoBuddyTemporary, Q_MOVABLE_TYPE);

/** Writes validity, display name, id and the address of the account, on a line each. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddyTemporary& temporary);

#endif
