#include "MivoPluginLoader.h"

#include "MivoField.h"
#include "MivoHostLog.h"
#include "MivoHostQt_p.h"
#include "MivoPlugin.h"
#include "MivoService.h"

#include <QFile>
#include <QFileInfo>

#include <elf.h>

namespace {

/** What the first bytes of an ELF file tell: System V ABI, chapter 4, "ELF Header". */
struct ElfKind
{
    explicit ElfKind(const QByteArray& header)
        : isElf(header.size() >= EI_NIDENT + 4 && header.startsWith(QByteArray(ELFMAG, SELFMAG)))
        , bits(0)
        , byteOrder(0)
        , type(0)
        , machine(0)
    {
        if (!isElf)
            return;
        bits = header.at(EI_CLASS) == ELFCLASS32 ? 32 : 64;
        byteOrder = static_cast<unsigned char>(header.at(EI_DATA));
        type = wordAt(header, EI_NIDENT);
        machine = wordAt(header, EI_NIDENT + 2);
    }

    bool isForSameMachine(const ElfKind& other) const
    {
        return bits == other.bits && byteOrder == other.byteOrder && machine == other.machine;
    }

    QString architecture() const
    {
        static const struct
        {
            int machine;
            const char* name;
        } known[] = {{EM_386, "x86"},         {EM_X86_64, "x86-64"}, {EM_ARM, "ARM"},
                     {EM_AARCH64, "AArch64"}, {EM_MIPS, "MIPS"},     {EM_PPC, "PowerPC"},
                     {EM_PPC64, "PowerPC"},   {EM_RISCV, "RISC-V"},  {EM_S390, "S/390"}};
        QString name = QString::fromLatin1("machine %1").arg(machine);
        for (unsigned i = 0; i < sizeof known / sizeof *known; ++i) {
            if (known[i].machine == machine)
                name = QLatin1String(known[i].name);
        }
        return QString::fromLatin1("%1, %2 bits, %3 first")
            .arg(name)
            .arg(bits)
            .arg(QLatin1String(byteOrder == ELFDATA2MSB ? "high byte" : "low byte"));
    }

    bool isElf;
    int bits;
    int byteOrder;
    int type;
    int machine;

private:
    int wordAt(const QByteArray& header, int at) const
    {
        const int first = static_cast<unsigned char>(header.at(at));
        const int second = static_cast<unsigned char>(header.at(at + 1));
        return byteOrder == ELFDATA2MSB ? first << 8 | second : second << 8 | first;
    }
};

/** The kind of an ELF file; throws nothing, and answers one that is no ELF file on failure. */
ElfKind elfKindOf(QFile& file)
{
    return ElfKind(file.open(QIODevice::ReadOnly) ? file.read(EI_NIDENT + 4) : QByteArray());
}

/** "a plug-in whose name() fails: REASON" of the first of these that throws; empty when none does. */
QString whatFails(const MivoPlugin& plugin)
{
    const char* asked = "name()";
    try {
        plugin.name();
        asked = "version()";
        plugin.version();
        asked = "services()";
        plugin.services();
    } catch (...) {
        return QString::fromLatin1("a plug-in whose %1 fails: %2")
            .arg(QLatin1String(asked), MivoHostLog::currentException());
    }
    return QString();
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
    if (plugin)
        return plugin;
    QString found = checkFile();
    if (found.isEmpty())
        found = stamp().misfit();
    if (found.isEmpty())
        found = loadCode();
    if (!found.isEmpty())
        error = QString::fromLatin1("%1: found %2; needed: %3")
                    .arg(name, found, MivoPluginStamp::needed());
    return plugin;
}

MivoPluginStamp MivoPluginLoader::stamp()
{
    if (!checkFile().isEmpty())
        return MivoPluginStamp();
    loader.setFileName(QFileInfo(name).absoluteFilePath());
    return mivoReadStamp(loader);
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
    if (!info.isFile()) // a FIFO may block whoever opens it, and a device may do anything
        return QString::fromLatin1("a FIFO, a socket or a device, and no file");
    QFile file(name);
    const ElfKind kind = elfKindOf(file);
    if (!file.isOpen())
        return QString::fromLatin1("a file that cannot be read (%1)").arg(file.errorString());
    if (!kind.isElf || kind.type != ET_DYN)
        return QString::fromLatin1("a file that is no shared object");
    QFile ownProgram(QLatin1String("/proc/self/exe"));
    const ElfKind own = elfKindOf(ownProgram);
    if (own.isElf && !kind.isForSameMachine(own))
        return QString::fromLatin1(
                   "a shared object for another architecture (%1) than this one (%2)")
            .arg(kind.architecture(), own.architecture());
    return QString();
}

/** Makes the plug-in. Returns what was found when it cannot be used; empty when it can. */
QString MivoPluginLoader::loadCode()
{
    // All symbols now: a missing one is an error here, and not the end of the process at its first
    // use.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    QObject* root = nullptr;
    try {
        root = loader.instance();
    } catch (...) {
        return QString::fromLatin1("a plug-in whose constructor fails: %1")
            .arg(MivoHostLog::currentException());
    }
    if (!root)
        return QString::fromLatin1("a plug-in that cannot be loaded (%1)")
            .arg(loader.errorString());
    plugin = qobject_cast<MivoPlugin*>(root);
    if (!plugin) {
        const QString className = QLatin1String(root->metaObject()->className());
        loader.unload();
        return QString::fromLatin1("a plug-in whose root object is a %1 and no MivoPlugin")
            .arg(className);
    }
    const QString failing = whatFails(*plugin);
    if (!failing.isEmpty())
        delete plugin; // its code stays: it may have left more behind
    return failing;
}
