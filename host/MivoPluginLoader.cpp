#include "MivoPluginLoader.h"

#include "MivoGlobal.h"
#include "MivoPlugin.h"
#include "MivoQt_p.h"

#include <QFile>
#include <QFileInfo>

namespace {

/** The first bytes of every ELF file: System V ABI, chapter 4, "ELF Identification". */
const char elfMagic[] = "\x7f"
                        "ELF";

#if defined(__GNUC__)
const char compilerAbi[] = "itanium";
#else
const char compilerAbi[] = "other";
#endif

/** As mivo_add_plugin() writes it. */
QString hostAbi()
{
    return QString::fromLatin1("%1-%2").arg(QLatin1String(compilerAbi)).arg(sizeof(void*) * 8);
}

/** The generation of Qt at run time, which is that of the build: Qt's soname carries it. */
int qtMajor()
{
    return QString::fromLatin1(qVersion()).section(QLatin1Char('.'), 0, 0).toInt();
}

int majorOf(const QString& version)
{
    return version.section(QLatin1Char('.'), 0, 0).toInt();
}

QString needed()
{
    return QString::fromLatin1("a plug-in made by mivo_add_plugin() for libmivo_data %1.x, plug-in "
                               "interface %2, Qt %3 and compiler ABI %4")
        .arg(MIVO_VERSION_MAJOR)
        .arg(MIVO_PLUGIN_INTERFACE)
        .arg(qtMajor())
        .arg(hostAbi());
}

QString textOf(const QVariant& value)
{
    return value.isValid() ? value.toString() : QString::fromLatin1("none");
}

} // namespace

MivoPluginLoader::MivoPluginLoader(const QString& fileName)
    : name(fileName)
{
}

MivoPluginLoader::~MivoPluginLoader() = default;

MivoPlugin* MivoPluginLoader::load()
{
    error.clear();
    if (loader.isLoaded())
        return qobject_cast<MivoPlugin*>(loader.instance());
    QString found = checkFile();
    if (found.isEmpty()) {
        loader.setFileName(QFileInfo(name).absoluteFilePath());
        found = checkStamp();
    }
    if (!found.isEmpty()) {
        refuse(found);
        return nullptr;
    }

    // All symbols now: a missing one is an error here, and not the end of the process at its first
    // use.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    QObject* const root = loader.instance();
    if (!root) {
        refuse(
            QString::fromLatin1("a plug-in that cannot be loaded (%1)").arg(loader.errorString()));
        return nullptr;
    }
    MivoPlugin* const plugin = qobject_cast<MivoPlugin*>(root);
    if (!plugin) {
        refuse(QString::fromLatin1("a plug-in whose root object is a %1 and no MivoPlugin")
                   .arg(QLatin1String(root->metaObject()->className())));
        loader.unload();
    }
    return plugin;
}

QString MivoPluginLoader::errorString() const
{
    return error;
}

QString MivoPluginLoader::fileName() const
{
    return name;
}

bool MivoPluginLoader::unload()
{
    return loader.unload();
}

/** What was found when the file cannot be a plug-in at all; an empty string when it can. */
QString MivoPluginLoader::checkFile() const
{
    const QFileInfo info(name);
    if (!info.exists())
        return QString::fromLatin1("no such file");
    if (info.isDir())
        return QString::fromLatin1("a folder");
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return QString::fromLatin1("a file that cannot be read (%1)").arg(file.errorString());
    if (file.read(4) != QByteArray(elfMagic))
        return QString::fromLatin1("a file that is no shared object");
    return QString();
}

/** What was found when the stamp does not fit; an empty string when it does. */
QString MivoPluginLoader::checkStamp() const
{
    const QVariantMap metaData = mivoPluginMetaData(loader);
    if (metaData.isEmpty())
        return QString::fromLatin1("a shared object that is no Qt plug-in");
    const QString interfaceName = metaData.value(QLatin1String("IID")).toString();
    if (!interfaceName.startsWith(QLatin1String("MivoPlugin/")))
        return QString::fromLatin1("a plug-in of another program (\"%1\")").arg(interfaceName);

    const QVariantMap stamp
        = metaData.value(QLatin1String("MetaData")).toMap().value(QLatin1String("mivo")).toMap();
    if (stamp.isEmpty())
        return QString::fromLatin1("a plug-in without a stamp");
    const QVariant interfaceNumber = stamp.value(QLatin1String("interface"));
    if (interfaceNumber.toInt() != MIVO_PLUGIN_INTERFACE)
        return QString::fromLatin1("a plug-in for interface %1").arg(textOf(interfaceNumber));
    const QVariant qt = stamp.value(QLatin1String("qt"));
    if (qt.toInt() != qtMajor())
        return QString::fromLatin1("a plug-in for Qt %1").arg(textOf(qt));
    const QVariant abi = stamp.value(QLatin1String("abi"));
    if (abi.toString() != hostAbi())
        return QString::fromLatin1("a plug-in for compiler ABI %1").arg(textOf(abi));
    const QVariant library = stamp.value(QLatin1String("library"));
    if (!library.isValid() || majorOf(library.toString()) != MIVO_VERSION_MAJOR)
        return QString::fromLatin1("a plug-in for libmivo_data %1").arg(textOf(library));
    return QString();
}

void MivoPluginLoader::refuse(const QString& found)
{
    error = QString::fromLatin1("%1: found %2; needed: %3").arg(name, found, needed());
}
