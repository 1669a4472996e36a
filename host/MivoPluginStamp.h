#ifndef MIVOPLUGINSTAMP_H
#define MIVOPLUGINSTAMP_H

#include "MivoHostGlobal.h"

#include <QStringList>
#include <QVariant>

/**
 * What a plug-in says of itself before its code is loaded: what it was built with, as the CMake
 * function mivo_add_plugin() has written it.
 *
 * It stands in Qt's own metadata (Q_PLUGIN_METADATA), and on Qt 4.8, which has none, as a text in
 * the shared object: a line that marks it, a line KEY=VALUE for each field, and a zero byte.
 *
 * A value class without a lock of its own.
 */
class MIVO_HOST_EXPORT MivoPluginStamp
{
public:
    /** No stamp at all. */
    MivoPluginStamp();
    MivoPluginStamp(const MivoPluginStamp& other);
    MivoPluginStamp(MivoPluginStamp&& other) noexcept;
    ~MivoPluginStamp();
    MivoPluginStamp& operator=(const MivoPluginStamp& other);
    MivoPluginStamp& operator=(MivoPluginStamp&& other) noexcept;

    /** @p metaData is that of a QPluginLoader. */
    static MivoPluginStamp fromMetaData(const QVariantMap& metaData);
    /** Reads the marked text in the shared object @p fileName. */
    static MivoPluginStamp fromText(const QString& fileName);

    /**
     * What does not fit this library, as the piece of a sentence: "a plug-in for Qt 5". Empty when
     * all fits. A field of another type or shape than mivo_add_plugin() writes never fits.
     */
    QString misfit() const;

    // Empty where the stamp does not say.

    /** What the plug-in was built as; by this name others require it. */
    QString name() const;
    /** One line for the user, as are the description and the author. */
    QString title() const;
    QString description() const;
    QString author() const;
    /** The names of the plug-ins that must be there before this one. */
    QStringList requirements() const;

    /** What this library takes, as the piece of a sentence. */
    static QString needed();

private:
    QString unreadable; // the misfit, when there is no stamp to look at
    QString interfaceName; // the IID
    QVariantMap fields;
};

#endif
