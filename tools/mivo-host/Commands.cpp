#include "Commands.h"

#include "Console.h"
#include "ValueText.h"

#include <MivoDispatcher.h>
#include <MivoHostLog.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>
#include <MivoService.h>

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

void requireAtLeast(const QStringList& arguments, int count, const char* names)
{
    if (arguments.size() < count)
        throw UsageError(
            QString("found %1 arguments; expected %2").arg(arguments.size()).arg(names));
}

/** The values on a command line from @p first on, all of them read before anything is called. */
QList<MivoArg> valuesFrom(const QStringList& arguments, int first)
{
    QList<MivoArg> values;
    for (int i = first; i < arguments.size(); ++i) {
        try {
            values.append(valueFromText(arguments.at(i)));
        } catch (const ValueTextError& error) {
            throw UsageError(QString::fromUtf8(error.what()));
        }
    }
    return values;
}

QString orNone(const QStringList& names)
{
    return names.isEmpty() ? QString("none") : names.join(", ");
}

void describe(const QString& file, const MivoPlugin& plugin)
{
    Console::out(QString("%1: %2 %3").arg(file, plugin.name(), plugin.version()).trimmed());
    Console::out(QString("  calls:   %1").arg(orNone(plugin.callSlots())));
    Console::out(QString("  actions: %1").arg(orNone(plugin.actionSlots())));
    const QList<MivoService> services = plugin.services();
    for (const MivoService& service : services)
        Console::out(QString("  service: %1").arg(debugText(service).trimmed()));
}

void runPlugins(const QStringList& files)
{
    requireAtLeast(files, 1, "at least one FILE");
    MivoHost host;
    QStringList refused;
    for (const QString& file : files) {
        QString error;
        const MivoPlugin* const plugin = host.load(file, &error);
        if (plugin)
            describe(file, *plugin);
        else
            refused.append(error);
    }
    if (!refused.isEmpty())
        throw Failure(refused.join('\n'));
}

void runCall(const QStringList& arguments)
{
    requireAtLeast(arguments, 2, "FILE and SLOT");
    const QList<MivoArg> values = valuesFrom(arguments, 2);

    MivoHost host;
    MivoPlugin* const plugin = loadPlugin(host, arguments.at(0));
    startHost(host);
    const QList<MivoArg> answer = host.call(plugin, arguments.at(1), values);
    for (const MivoArg& value : answer)
        Console::out(debugText(value));
}

QAtomicInt loggedFailures;

void countAndWrite(const QString& line)
{
    loggedFailures.ref();
    Console::error(QString("mivo-host: ") + line);
}

void runAction(const QStringList& arguments)
{
    requireAtLeast(arguments, 2, "FILE and SLOT");
    const QList<MivoArg> values = valuesFrom(arguments, 2);

    MivoHost host;
    MivoPlugin* const plugin = loadPlugin(host, arguments.at(0));
    startHost(host);
    QObject::connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [](MivoPlugin* called) { Console::say(QString("delivered to %1").arg(called->name())); },
        Qt::DirectConnection);
    MivoPluginAction action = host.action(plugin, arguments.at(1), values);
    MivoHostLog::setWriter(countAndWrite);
    action();
    Console::say("posted");
    host.shutdown();
    MivoHostLog::setWriter(nullptr);
    if (loggedFailures.loadAcquire() > 0)
        throw Failure("the action failed");
}

} // namespace

const QList<Command>& commands()
{
    static const QList<Command> all = {
        {"plugins", "FILE...", "Shows what each plug-in offers.", runPlugins},
        {"call", "FILE SLOT [KIND:VALUE...]",
         "Calls a slot in the plug-in's own thread and prints its answer, a value a line.",
         runCall},
        {"action", "FILE SLOT [KIND:VALUE...]",
         "Posts an action, which the dispatcher delivers in its own thread.", runAction},
        {"demo", "", "Shows a call's whole journey through three example plug-ins, line by line.",
         runDemo},
    };
    return all;
}

MivoPlugin* loadPlugin(MivoHost& host, const QString& file)
{
    QString error;
    MivoPlugin* const plugin = host.load(file, &error);
    if (!plugin)
        throw Failure(error);
    return plugin;
}

void startHost(MivoHost& host)
{
    QString error;
    if (!host.start(&error))
        throw Failure(error);
}

QString examplePlugin(const QString& name)
{
    const QDir folder(QCoreApplication::applicationDirPath());
    for (const char* candidate : {"../plugins", "../lib/mivo/plugins"}) {
        const QString file
            = QDir::cleanPath(folder.absoluteFilePath(QString("%1/%2.so").arg(candidate, name)));
        if (QFileInfo::exists(file))
            return file;
    }
    throw Failure(QString("found no example plug-in %1.so beside mivo-host").arg(name));
}
