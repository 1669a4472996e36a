#ifndef MIVOSUBSCRIPTIONTYPE_H
#define MIVOSUBSCRIPTIONTYPE_H

#include "MivoGlobal.h"

#include <QString>

/**
 * The kind of presence subscription that links the user and a contact.
 *
 * A plain value of independent copies, which never changes once it is made but by assignment. The
 * descriptors that a contact type lists are owned by that contact type; a contact keeps a copy of
 * its own.
 */
class MIVO_DATA_EXPORT MivoSubscriptionType
{
public:
    /** Note the order: the display name comes before the id. */
    MivoSubscriptionType(const QString& display, const QString& id, unsigned int priority,
                         const QString& icon);
    MivoSubscriptionType(const MivoSubscriptionType& other);
    /** Leaves @p other invalid, with null strings and priority 0. */
    MivoSubscriptionType(MivoSubscriptionType&& other) noexcept;
    ~MivoSubscriptionType();
    MivoSubscriptionType& operator=(const MivoSubscriptionType& other);
    MivoSubscriptionType& operator=(MivoSubscriptionType&& other) noexcept;

    /** Whether neither the id nor the display name is empty. */
    bool isValid() const;

    QString getDisplay() const;
    QString getId() const;
    /** The ordering weight. */
    unsigned int getPriority() const;
    /** Name or path of the icon. */
    QString getIcon() const;

private:
    void swap(MivoSubscriptionType& other) noexcept;

    QString display;
    QString id;
    quint32 priority;
    QString icon;
};

Q_DECLARE_TYPEINFO(MivoSubscriptionType, Q_MOVABLE_TYPE);

#endif
