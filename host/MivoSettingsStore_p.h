#ifndef MIVOSETTINGSSTORE_P_H
#define MIVOSETTINGSSTORE_P_H

#include <QList>
#include <QMutex>
#include <QSet>
#include <QString>

class MivoField;
class MivoXmlNode;

/**
 * The folder in which a host keeps the forms of its plug-ins between two runs: for each plug-in an
 * XML file that its owner alone may read. A file that is broken is set aside under another name,
 * with a line in the log, and is never overwritten. May be used in several threads at once.
 */
class MivoSettingsStore
{
public:
    MivoSettingsStore(const QString& folder, bool keepsSecrets);

    /** The "fieldlist" element that is kept for @p plugin; null when none is. */
    MivoXmlNode read(const QString& plugin);
    /**
     * Keeps the values of a form: when this returns they are on the disk, in place of those before
     * as a whole. Throws a std::runtime_error with the reason when that cannot be done.
     */
    void write(const QString& plugin, const QList<MivoField>& fields);

private:
    Q_DISABLE_COPY(MivoSettingsStore)

    QString fileOf(const QString& plugin) const;
    void setAside(const QString& plugin, const QString& reason);

    QMutex mutex;
    const QString folder;
    const bool keepsSecrets;
    QSet<QString> untouchable; // plug-ins whose broken file could not be set aside
};

#endif
