#ifndef MIVOACCOUNTCONNECTION_H
#define MIVOACCOUNTCONNECTION_H

#include "MivoHostGlobal.h"

#include <QObject>
#include <QString>

/**
 * The connection of one account of the user. The protocol plug-in that makes it owns it; contacts
 * point at it, so it must outlive them.
 */
class MIVO_HOST_EXPORT MivoAccountConnection : public QObject
{
    Q_OBJECT

public:
    MivoAccountConnection(const QString& id, const QString& display, QObject* parent = nullptr);
    ~MivoAccountConnection() override;

    /** Identifies the account among all of the user's: "ann@example.org", for instance. */
    QString id() const;
    /** The name shown to the user. */
    QString display() const;

private:
    const QString accountId;
    const QString accountDisplay;
};

#endif
