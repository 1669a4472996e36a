#ifndef MIVOPRESENCE_H
#define MIVOPRESENCE_H

#include "MivoGlobal.h"

#include <QDebug>
#include <QString>

struct MivoPresenceType;

/**
 * The status that a contact or one of its resources shows: a presence type and a free text.
 *
 * A plain value. Copies are independent of each other but point at the same presence type, which
 * stays owned by its contact type (MivoBuddyType) and must outlive the presence. The class takes no
 * lock: a presence that one thread changes must not be used in another at the same time. A presence
 * without a type is invalid and answers null strings and zeros; its description is kept.
 */
class MIVO_DATA_EXPORT MivoPresence
{
public:
    /**
     * The class of a status, by which contacts are counted and presence types looked up. Plug-ins
     * and hosts define the numbers; any 32-bit number can be stored.
     */
    enum Flag : int {
        NoFlag = 0, ///< what a presence without a type reports
        Offline = 6 ///< left out by MivoBuddyGroup::onlineChildCount()
    };

    /** An invalid presence with a null description. */
    MivoPresence();
    MivoPresence(MivoPresenceType* type, const QString& description);
    MivoPresence(const MivoPresence& other);
    /** Leaves @p other invalid, with a null description. */
    MivoPresence(MivoPresence&& other) noexcept;
    ~MivoPresence();
    MivoPresence& operator=(const MivoPresence& other);
    MivoPresence& operator=(MivoPresence&& other) noexcept;

    /**
     * Whether both point at the same presence type and have equal descriptions and markers. Two
     * types of equal contents are two types.
     */
    bool operator==(const MivoPresence& other) const;
    bool operator!=(const MivoPresence& other) const;

    /** Whether there is a presence type. */
    bool isValid() const;

    QString getId() const;
    QString getDisplay() const;
    QString getIcon() const;
    /** The ordering weight of the status; 0 when invalid. */
    unsigned int getPriority() const;
    /** NoFlag when invalid. */
    Flag getFlag() const;
    /** The free text, also of an invalid presence. */
    QString getDescription() const;

protected:
    MivoPresenceType* type;
    QString description;
    /** False at first; copied and compared. What it means is up to the host's subclass. */
    bool marker;

private:
    void swap(MivoPresence& other) noexcept;
};

Q_DECLARE_TYPEINFO(MivoPresence, Q_MOVABLE_TYPE);

/** Writes id, display name and priority, on a line each, or "invalid". */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoPresence& presence);

#endif
