#ifndef CONTACTS_H
#define CONTACTS_H

#include "Jid.h"

#include <MivoBuddyContact.h>
#include <MivoBuddyGroup.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyResourceType.h>
#include <MivoContactType.h>
#include <MivoPresenceType.h>

#include <QMap>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <map>
#include <memory>

/** An entry of an account's roster, as the server has it. */
struct RosterItem
{
    QString address; ///< without resource
    QString name; ///< empty when the user has given none
    QString subscription; ///< "none", "to", "from" or "both"
    bool isAsked = false; ///< whether the contact has not yet answered the user's request
    QStringList groups; ///< as they were given; empty ones too
};

/** What one client of a contact has told of itself. */
struct ClientPresence
{
    QString status; ///< the id of a presence of the contact type
    QString text;
    int priority = 0; ///< -128 to 127
};

/**
 * The contact list of all accounts: makes the entries, changes them and moves them between groups.
 *
 * An entry stays the same one as long as its contact is on a roster, whatever the server says of it.
 * Only a new name takes a new entry in the old one's place, since the name of an entry never changes:
 * the old handle still leads to the contact, as all that is looked up goes by account and address.
 * People who are on the rosters of several accounts are shown as one merged contact.
 *
 * It is used in one thread; only the members of groups may be read in others (MivoBuddyGroup). The
 * signals are emitted from the event loop, many changes by one signal.
 */
class Contacts : public QObject
{
    Q_OBJECT

public:
    explicit Contacts(QObject* parent = nullptr);
    /** Takes the entries apart, so that nothing of the list is kept alive by itself. */
    ~Contacts() override;

    /** Those that have members, by name. */
    QList<MivoBuddyGroup> groups() const;
    /** All entries of one account or, with null, of all: contacts and temporary contacts. */
    QList<MivoBuddy> entries(const MivoAccountConnection* account = nullptr) const;

    /** The entry of an address, with or without resource; invalid when there is none. */
    MivoBuddy find(const MivoAccountConnection* account, const Jid& address) const;
    /** The entry of an address, a new temporary contact when there is none. */
    MivoBuddy findOrAdd(MivoAccountConnection* account, const Jid& address);
    /** What the server has said of a contact; null for a temporary or unknown one. */
    const RosterItem* item(const MivoAccountConnection* account, const Jid& address) const;
    /** The name of the group that a contact is shown in; empty for none. */
    QString groupOf(const MivoAccountConnection* account, const Jid& address) const;
    /** What the client with that resource has told; null when there is none. */
    QMap<QString, ClientPresence> clients(const MivoAccountConnection* account,
                                          const Jid& address) const;

    void setItem(MivoAccountConnection* account, const RosterItem& item);
    void removeItem(MivoAccountConnection* account, const Jid& address);
    /** Removes all contacts of the account but these, by Jid::key(). */
    void keepOnly(MivoAccountConnection* account, const QSet<QString>& keys);

    /** Removes all entries of the account. */
    void removeAll(const MivoAccountConnection* account);

    /** Ignores addresses that are not on the contact list. */
    void setAvailable(MivoAccountConnection* account, const Jid& address,
                      const ClientPresence& presence);
    /** The client of that address has gone; without resource, all of the contact's. */
    void setUnavailable(MivoAccountConnection* account, const Jid& address, const QString& text);
    /** All contacts of the account go offline. */
    void setOffline(MivoAccountConnection* account);
    /** A picture as the bytes of a file; empty for none. */
    void setPicture(MivoAccountConnection* account, const Jid& address, const QByteArray& bytes);
    /** Whether the contact waits for an answer to its request for the user's presence. */
    void setAsking(MivoAccountConnection* account, const Jid& address, bool isAsking);
    void setUnread(MivoAccountConnection* account, const Jid& address, int count);

    /** Of a usual presence, or null. */
    MivoPresenceType* presenceType(const QString& id) const { return type.presence(id); }

Q_SIGNALS:
    void entriesChanged(const QList<MivoBuddy>& entries);
    void listChanged();

private:
    /** Names the groups of users, and those that are made here, whose names users may have given. */
    typedef QPair<bool, QString> GroupKey; // whether it is made here, and the name
    typedef QPair<const MivoAccountConnection*, QString> EntryKey; // account and Jid::key()

    struct Entry
    {
        MivoAccountConnection* account;
        RosterItem item;
        MivoBuddy handle; // a contact or temporary contact
        GroupKey group;
        QMap<QString, ClientPresence> clients; // by resource
        QString newest; // the resource that has told something last
        QString goneText; // of the client that was the last to go
    };
    /** The contacts of one address, of all accounts. */
    struct Person
    {
        QList<EntryKey> contacts; // in the order in which they came
        MivoBuddyMerged merged; // as soon as there have been several
        MivoBuddy shown; // in the group
        GroupKey group;
    };

    static EntryKey keyOf(const MivoAccountConnection* account, const Jid& address);
    Entry* entry(const MivoAccountConnection* account, const Jid& address);
    const Entry* entry(const MivoAccountConnection* account, const Jid& address) const;
    MivoBuddyGroup group(const GroupKey& key);
    GroupKey groupFor(const RosterItem& item, const GroupKey& current) const;
    MivoBuddyContact newContact(MivoAccountConnection* account, const RosterItem& item) const;
    void add(const EntryKey& key, const Entry& added);
    void remove(const EntryKey& key);
    void place(const QString& personKey);
    void showPresence(Entry& changed);
    MivoPresence resourcePresence(const ClientPresence& client);
    void noteChange(const Entry& changed);
    void noteListChange();
    void tell();

    MivoContactType type;
    std::map<EntryKey, Entry> known;
    std::map<QString, Person> persons; // by Jid::key()
    std::map<GroupKey, MivoBuddyGroup> groupsByKey; // also those without members, for their return
    std::map<QPair<QString, int>, std::unique_ptr<MivoPresenceType>> resourcePresences;
    std::map<QString, std::unique_ptr<MivoBuddyResourceType>> resourceTypes; // by name
    QSet<MivoBuddy> changed;
    bool isListChanged = false;
    QTimer teller;
};

#endif
