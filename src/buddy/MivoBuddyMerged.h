#ifndef MIVOBUDDYMERGED_H
#define MIVOBUDDYMERGED_H

#include "MivoBuddy.h"

#include <QList>

class MivoAccountConnection;
class MivoBuddyContact;
class MivoBuddyResource;
class MivoPresence;

/**
 * Several contacts, of one or more accounts, shown as one entry.
 *
 * The first contact speaks for all: nothing is ranked. Sharing is that of MivoBuddy. The entry
 * keeps its contacts alive and does not change their parents. An invalid handle, and an entry
 * without contacts, answer null strings, an invalid presence and empty lists; changing an invalid
 * one does nothing. Nothing guards the contacts: an entry whose contacts one thread replaces must
 * not be read in another at the same time.
 */
class MIVO_DATA_EXPORT MivoBuddyMerged : public MivoBuddy
{
public:
    /** An invalid handle. */
    MivoBuddyMerged();
    /** If @p display is empty, the entry is called by the id of the first contact. */
    MivoBuddyMerged(const QString& display, const QList<MivoBuddyContact>& contacts);
    /** The same entry; invalid if @p other is not a merged contact. */
    MivoBuddyMerged(const MivoBuddy& other);
    MivoBuddyMerged(const MivoBuddyMerged& other);
    MivoBuddyMerged(MivoBuddyMerged&& other) noexcept;
    ~MivoBuddyMerged() override;
    MivoBuddyMerged& operator=(const MivoBuddyMerged& other);
    MivoBuddyMerged& operator=(MivoBuddyMerged&& other) noexcept;

    /** Whether @p contact itself, not one of the same id, is among the contacts. */
    bool containsContact(const MivoBuddyContact& contact) const;

    /**
     * The first contact's display name. Not the entry's own, which MivoBuddy::getDisplay() answers
     * when called through a MivoBuddy.
     */
    QString getDisplay() const;
    /** The first contact's id. */
    QString getId() const;
    /** The first contact's avatar. */
    QString getAvatarPath() const;
    /** The first contact's presence. */
    MivoPresence getPresence() const;
    /** The first contact's resources. */
    QList<MivoBuddyResource> getResources() const;
    /** The group or meta-contact that holds the entry: set by their addBuddy(). */
    MivoBuddy getParent() const;
    /** The account of each contact, in their order; one account may stand there several times. */
    QList<MivoAccountConnection*> getAccounts() const;
    /** The first contact of that account; invalid when there is none. */
    MivoBuddyContact getContactForAccount(MivoAccountConnection* account) const;

    /** Replaces the contacts. The entry's own display name stays. */
    void setContacts(const QList<MivoBuddyContact>& contacts);
};

Q_DECLARE_TYPEINFO(MivoBuddyMerged, Q_MOVABLE_TYPE);

/** Writes validity and the first contact's display name and id, on a line each. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddyMerged& merged);

#endif
