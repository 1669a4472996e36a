#ifndef MIVOSERVICE_H
#define MIVOSERVICE_H

#include "MivoPluginAction.h"

#include <QDebug>
#include <QString>

/**
 * A service that a plug-in offers for a protocol: a named entry with a text for the user and the
 * action that performs it. Copies are independent values. May be used in different threads at once
 * as long as no object is shared between them.
 */
class MIVO_DATA_EXPORT MivoService
{
public:
    /** A service that is not valid: empty strings and an action that is not valid. */
    MivoService();
    MivoService(const QString& name, const QString& displayName, const QString& protocol,
                const MivoPluginAction& action);
    MivoService(const MivoService& other);
    /** Leaves @p other with empty strings and an action that is not valid. */
    MivoService(MivoService&& other) noexcept;
    ~MivoService();
    MivoService& operator=(const MivoService& other);
    MivoService& operator=(MivoService&& other) noexcept;

    /**
     * Whether name and protocol are equal: a service is identified by its name within its protocol.
     * On purpose the text for the user and the action play no part.
     */
    bool operator==(const MivoService& other) const;
    bool operator!=(const MivoService& other) const;

    /** Whether the name is not empty; the action may be invalid all the same. */
    bool isValid() const;

    QString getName() const;
    QString getDisplayName() const;
    QString getProtocol() const;
    MivoPluginAction getAction() const;

private:
    void swap(MivoService& other) noexcept;

    QString name;
    QString displayName;
    QString protocol;
    MivoPluginAction action;
};

Q_DECLARE_TYPEINFO(MivoService, Q_MOVABLE_TYPE);

/** Prints name="NAME" protocol="PROTOCOL" and one blank; the stream is in space mode afterwards. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoService& service);

#endif
