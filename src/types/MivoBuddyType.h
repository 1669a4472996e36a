#ifndef MIVOBUDDYTYPE_H
#define MIVOBUDDYTYPE_H

#include "MivoGlobal.h"

#include <QDebug>
#include <QList>
#include <QString>

class MivoBuddyTypePrivate;
class MivoField;
class MivoSubscriptionType;

/**
 * A contact type: one kind of contact, as a protocol plug-in defines it, with the presences,
 * subscriptions and extra-information fields that contacts of this kind have.
 *
 * Explicitly shared: copies share one record, nothing ever separates them, and a change through one
 * is seen through all. The plug-in fills the record, MivoBuddyTypePrivate, before it hands the type
 * on. Copies may be made and destroyed in different threads at once; nothing else is guarded.
 *
 * The record owns the presence types and subscription types that it lists. They are deleted when
 * the last handle is destroyed, but on purpose not when the last handle is given another contact
 * type: then whoever made them has to delete them.
 */
class MIVO_DATA_EXPORT MivoBuddyType
{
public:
    /** An invalid contact type. */
    MivoBuddyType();
    /** A contact type without presences, subscriptions and fields; invalid when memory is short. */
    MivoBuddyType(const QString& id, const QString& display);
    MivoBuddyType(const MivoBuddyType& other);
    /** Takes @p other's record, which leaves @p other invalid. */
    MivoBuddyType(MivoBuddyType&& other) noexcept;
    ~MivoBuddyType();
    /** Shares @p other's record. A record that goes with it leaves its descriptors behind. */
    MivoBuddyType& operator=(const MivoBuddyType& other);
    /** Takes @p other's record. A record that goes with it leaves its descriptors behind. */
    MivoBuddyType& operator=(MivoBuddyType&& other) noexcept;

    bool isValid() const;

    /** Null when invalid. */
    QString getId() const;
    /** The name shown to the user; null when invalid. */
    QString getDisplay() const;
    /** The fields that describe a contact of this kind; none when invalid. */
    QList<MivoField> getExtraInfoFields() const;
    /**
     * A copy of the first subscription type with that id. When there is none: an invalid one with
     * empty texts, a null icon and priority 0.
     */
    MivoSubscriptionType getSubscriptionWithId(const QString& id) const;

private:
    friend class MivoBuddyTypePrivate;
    MivoBuddyTypePrivate* d;
};

Q_DECLARE_TYPEINFO(MivoBuddyType, Q_MOVABLE_TYPE);

/** Writes the address, the id and the display name of @p type, which must not be null. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, MivoBuddyType* type);
/** Writes the contact types of the list, on a line each, and their count. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const QList<MivoBuddyType*>& types);

#endif
