#ifndef MIVOBUDDY_H
#define MIVOBUDDY_H

#include "MivoGlobal.h"

#include <QDebug>
#include <QMetaType>
#include <QString>

class MivoBuddyPrivate;

/**
 * A handle of one entry of the contact list: a group, a meta-contact, a contact, a merged contact
 * or a temporary contact.
 *
 * The handle is the identity of the entry. Copies share one record, nothing ever separates them,
 * and a change through one is seen through all; two handles are equal when they share a record,
 * whatever the record says. The kind classes are views of the same handle: they add operations and
 * no data, so that any handle may be kept as a MivoBuddy and turned back. Turning it into the class
 * of another kind gives an invalid handle, which answers every question with a default.
 *
 * Handles of one entry may be copied and destroyed in different threads at once; one handle object
 * may not be assigned in one thread and used in another. Display name and kind never change; the
 * unread count is a plain number that nothing guards. Groups and meta-contacts guard their members.
 */
class MIVO_DATA_EXPORT MivoBuddy
{
public:
    enum Type : int {
        Invalid = 0,
        Group = 1,
        Meta = 2,
        Contact = 3,
        Merged = 4,
        Temporary = 5,
        Other = 6
    };

    /** An invalid handle. */
    MivoBuddy();
    /**
     * An entry of that kind without the data of the kind, which the constructors of the kind
     * classes add. Invalid when memory is short, as are the handles that those make.
     */
    MivoBuddy(const QString& display, Type type);
    MivoBuddy(const MivoBuddy& other);
    /** Takes @p other's entry and leaves it invalid, as the assignment does. */
    MivoBuddy(MivoBuddy&& other) noexcept;
    virtual ~MivoBuddy();
    MivoBuddy& operator=(const MivoBuddy& other);
    MivoBuddy& operator=(MivoBuddy&& other) noexcept;

    /** Whether both are handles of the same entry, or both invalid. */
    bool operator==(const MivoBuddy& other) const;
    bool operator!=(const MivoBuddy& other) const;

    bool isValid() const;
    /** Invalid for an invalid handle. */
    Type getType() const;
    /** The shown name as it was given at creation; null for an invalid handle. */
    QString getDisplay() const;

    /** The number of unread messages; 0 for an invalid handle. */
    int unreadMessages() const;
    /** Sets the number for all handles of the entry; does nothing for an invalid handle. */
    void setUnreadMessages(int count);

protected:
    /** Shares @p other's record if it is of kind @p type; invalid otherwise. */
    MivoBuddy(Type type, const MivoBuddy& other);

private:
    friend class MivoBuddyPrivate;
    MivoBuddyPrivate* d;
};

Q_DECLARE_TYPEINFO(MivoBuddy, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(MivoBuddy)

/** The address of the record, folded to 32 bits: the same on every generation of Qt. */
MIVO_DATA_EXPORT uint qHash(const MivoBuddy& buddy);

/**
 * The order by which groups and meta-contacts sort their members: true for every pair, on purpose,
 * so that sorting reverses the members whatever they are. No order in the sense of the standard
 * algorithms, which must not be given it.
 */
MIVO_DATA_EXPORT bool buddyLessThan(const MivoBuddy& a, const MivoBuddy& b);
/**
 * Whether group @p a comes before group @p b: by display name in lower case and by code units, in
 * no locale. True when one of them is not a group.
 */
MIVO_DATA_EXPORT bool groupLessThan(const MivoBuddy& a, const MivoBuddy& b);

/** "MivoBuddy::" and the name of the kind, which is left out for a number that is no kind. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, MivoBuddy::Type type);
/**
 * Writes the entry as its kind class does, which gives two blanks at the end; an invalid one and
 * one of kind Other in a form of their own with one blank; nothing but the blank for an unknown
 * kind.
 */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoBuddy& buddy);

#endif
