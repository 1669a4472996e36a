#ifndef MIVOCONTACTTYPE_H
#define MIVOCONTACTTYPE_H

#include "MivoBuddyType.h"
#include "MivoHostGlobal.h"
#include "MivoPresence.h"
#include "MivoSubscriptionType.h"

class MivoField;
struct MivoPresenceType;

/**
 * Makes a contact type: what a protocol plug-in does once, before it makes its contacts.
 *
 * It is one more handle of the contact type and adds to the record that all handles share. All that
 * it adds belongs to that record and is deleted with the last handle; presences point to what
 * addPresence() returns, so that a handle must be kept as long as there are any. To be used in one
 * thread, and not any more once type() has been handed on.
 */
class MIVO_HOST_EXPORT MivoContactType
{
public:
    /**
     * The flags of the usual presences, as plug-ins of this host use them. Further numbers are the
     * plug-in's own.
     */
    enum UsualFlag : int {
        Online = 1,
        FreeForChat = 2,
        Away = 3,
        ExtendedAway = 4,
        DoNotDisturb = 5,
        Offline = MivoPresence::Offline,
        Invisible = 7
    };

    /** As MivoBuddyType's. Throws std::bad_alloc when memory is short. */
    MivoContactType(const QString& id, const QString& display);
    /** One more handle of a contact type that is there: an invalid one has and takes nothing. */
    explicit MivoContactType(const MivoBuddyType& type);
    ~MivoContactType();

    /**
     * Adds a status behind those that are there. Null, with nothing added, when there is one of
     * that @p id. @p flag is a UsualFlag or a number of the plug-in's own.
     */
    MivoPresenceType* addPresence(const QString& id, const QString& display, quint32 priority,
                                  int flag, const QString& icon = QString());
    /** Adds a kind of subscription; false, with nothing added, when there is one of its id. */
    bool addSubscription(const MivoSubscriptionType& subscription);
    /** Adds a field that describes a contact: see MivoBuddyContact. */
    void addExtraInfoField(const MivoField& field);

    /** The status of that id; null when there is none. */
    MivoPresenceType* presence(const QString& id) const;
    /** In the order in which they were added. */
    QList<MivoPresenceType*> presences() const;
    MivoBuddyType type() const;

private:
    Q_DISABLE_COPY(MivoContactType)

    const MivoBuddyType made;
};

#endif
