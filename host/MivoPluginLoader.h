#ifndef MIVOPLUGINLOADER_H
#define MIVOPLUGINLOADER_H

#include "MivoPlugin.h"
#include "MivoPluginStamp.h"

#include <QPluginLoader>
#include <QPointer>
#include <QString>

/**
 * Loads one plug-in from a shared object.
 *
 * A plug-in carries a stamp (MivoPluginStamp), which the CMake function mivo_add_plugin() writes:
 * the version of this library, the number of the plug-in interface, the generation of Qt and the
 * ABI of the compiler that it was built with. The stamp is read before any code is loaded, and a
 * file that does not fit is refused, as is a plug-in whose constructor, name(), version() or
 * services() throws.
 *
 * An object is used from one thread. Destroying it leaves the plug-in loaded.
 */
class MIVO_HOST_EXPORT MivoPluginLoader
{
public:
    explicit MivoPluginLoader(const QString& fileName);
    ~MivoPluginLoader();

    /**
     * The plug-in, loaded on the first call; owned by the caller or by the loader, whoever deletes
     * it first. Null on failure: errorString() then tells which file was refused, what was found in
     * it and what is needed.
     */
    MivoPlugin* load();
    /** What the file says of itself; its code is not loaded. Empty when it is no such file. */
    MivoPluginStamp stamp();
    /** One sentence without a line end; empty as long as nothing has failed. */
    QString errorString() const;
    QString fileName() const;

    /**
     * Deletes the plug-in and unloads its code. Returns false when the code stays loaded. Nothing
     * that refers to the plug-in's code or its static data may be left: objects of its classes,
     * actions bound to it, strings that share its literals.
     */
    bool unload();

private:
    Q_DISABLE_COPY(MivoPluginLoader)

    QString checkFile() const;
    QString loadCode();

    QString name;
    QString error;
    QPluginLoader loader;
    QPointer<MivoPlugin> plugin;
};

#endif
