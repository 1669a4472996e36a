#ifndef MIVOBUDDYCONTACT_H
#define MIVOBUDDYCONTACT_H

#include "MivoBuddy.h"

#include <QHash>
#include <QList>

class MivoAccountConnection;
class MivoArg;
class MivoBuddyResource;
class MivoBuddyType;
class MivoField;
class MivoPresence;
class MivoSubscriptionType;

/**
 * One contact of one account.
 *
 * Everything it says stands in the shared record (see MivoBuddy): a change through one handle is
 * seen through all. The account is only pointed to. The contact keeps its contact type alive, and
 * with it the presence and subscription types of that. Getters answer copies; nothing but the
 * parent is guarded, so a contact that one thread changes must not be read in another at the same
 * time. An invalid handle answers null, null strings, invalid values and empty lists; changing it
 * does nothing.
 */
class MIVO_DATA_EXPORT MivoBuddyContact : public MivoBuddy
{
public:
    /** An invalid handle. */
    MivoBuddyContact();
    /**
     * A new contact with its own copies of the contact type's extra-information fields; of fields
     * with one id the last counts. It has no parent, resources, avatar and attributes.
     */
    MivoBuddyContact(MivoAccountConnection* account, const QString& id, const QString& display,
                     const MivoBuddyType& type, const MivoPresence& presence,
                     const MivoSubscriptionType& subscription);
    /** The same contact; invalid if @p other is not a contact. */
    MivoBuddyContact(const MivoBuddy& other);
    MivoBuddyContact(const MivoBuddyContact& other);
    MivoBuddyContact(MivoBuddyContact&& other) noexcept;
    ~MivoBuddyContact() override;
    MivoBuddyContact& operator=(const MivoBuddyContact& other);
    MivoBuddyContact& operator=(MivoBuddyContact&& other) noexcept;

    MivoAccountConnection* getAccount() const;
    void setAccount(MivoAccountConnection* account);
    /** The id within the account. */
    QString getId() const;
    /** The id of the contact type. */
    QString getTypeId() const;
    MivoPresence getPresence() const;
    void setPresence(const MivoPresence& presence);
    /** When invalid: null strings and priority 0. */
    MivoSubscriptionType getSubscription() const;
    void setSubscription(const MivoSubscriptionType& subscription);
    /** The connected clients, in the order in which they were set. */
    QList<MivoBuddyResource> getResources() const;
    void setResources(const QList<MivoBuddyResource>& resources);
    /** The path of the image; null at first. */
    QString getAvatarPath() const;
    void setAvatarPath(const QString& path);
    /** The group or meta-contact that holds the contact: set by their addBuddy(). */
    MivoBuddy getParent() const;

    /**
     * The first of the resources with the highest priority. Priorities count as signed numbers, so
     * that none of 0x80000000 or more is ever active; an invalid resource when there is no other.
     */
    MivoBuddyResource getActiveResource() const;
    /** The icon of the subscription if it has one, else that of the presence. */
    QString getPresenceIcon() const;

    /** The attribute of that name; a MivoArg of kind None when there is none. */
    MivoArg getAttrib(QString name) const;
    QHash<QString, MivoArg> getAttribs() const;
    /** Replaces all attributes. */
    void setAttribs(const QHash<QString, MivoArg>& attribs);

    /**
     * The fields that the contact type has now, in its order, with this contact's values. A field
     * that the contact type got later is added to the contact as a null field: as an exception
     * among the getters, this one writes to the record.
     */
    QList<MivoField> getExtraInfo() const;
    /**
     * Writes @p value into the contact's field of that id. Returns whether there is such a field.
     * Throws the conversion error, and changes nothing, when the field takes another kind.
     */
    bool setFieldValue(const QString& id, const MivoArg& value);
    /**
     * Writes the values of @p fields, in their order, into the contact's fields of the same ids and
     * skips those that the contact does not have. Throws as setFieldValue() does; what was written
     * before stays. A label has no value, so that one in @p fields throws unless it is skipped.
     */
    void setFieldValues(const QList<MivoField>& fields);
};

Q_DECLARE_TYPEINFO(MivoBuddyContact, Q_MOVABLE_TYPE);

/** Writes validity, display name and id, on a line each. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddyContact& contact);

#endif
