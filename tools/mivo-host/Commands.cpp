#include "Commands.h"

#include "Console.h"
#include "DisplayText.h"
#include "ValueText.h"

#include <MivoDispatcher.h>
#include <MivoHostLog.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>
#include <MivoService.h>

#include <QAtomicInt>

namespace {

const char valueDetails[]
    = "KIND:VALUE is one of: none, char:A, uchar:N, int:N, uint:N, int64:N, uint64:N, float:X,\n"
      "double:X, string:TEXT, bool:true, bool:false, pointer:0xN, stringlist:A,B,\n"
      "pointerlist:0xN,0xN, xml:<A/>, videoclip:[WIDTH,HEIGHT,RATE,MILLISECONDS,SOURCE],\n"
      "service:[NAME,DISPLAY,PROTOCOL], servicelist:[[NAME,DISPLAY,PROTOCOL],...],\n"
      "list:[KIND:VALUE,...]. In brackets, a backslash before \\ , [ or ] makes it a plain "
      "character.";

const char formDetails[]
    = "Whatever the order of the options, the values are loaded, then set; the form is shown, its\n"
      "buttons are clicked, and last the values are saved, unless something before has failed.\n"
      "--load  takes over the values of the fields whose id and kind are in the file\n"
      "--save  writes the values to a file in place of what it held, as a whole or not at all\n"
      "--set   VALUE is true or false for a check box or radio button, an item's text or its\n"
      "        index, counted from 0, for a combo box, a number within the limits for a spin box,\n"
      "        any text for an edit; the ID ends at the first =\n"
      "--click runs a button's action, in the plug-in that it is for\n"
      "--with  loads further plug-ins beside this one\n"
      "Of fields with the same id the first one is loaded, set, clicked and saved.";

const char framesDetails[] = "The frames have the largest size of the ratio (4:3) that fits into "
                             "the size (640x480). They\n"
                             "run for N seconds (3), and one of them is written to FILE.";

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
        Console::outLines(displayText(value));
}

QAtomicInt failedActions;

/** What the dispatcher logs of an action that threw is the one sign of it. */
void countAndWrite(const QString& line)
{
    if (line.contains(": an action failed: "))
        failedActions.ref();
    writeLog(line);
}

void runAction(const QStringList& arguments)
{
    requireAtLeast(arguments, 2, "FILE and SLOT");
    const QList<MivoArg> values = valuesFrom(arguments, 2);

    MivoHost host;
    MivoPlugin* const plugin = loadPlugin(host, arguments.at(0));
    startHost(host);
    MivoPluginAction action = host.action(plugin, arguments.at(1), values);
    deliver(host, [&action] {
        Console::say("posted"); // first: the dispatcher may be faster than this thread
        action();
    });
}

} // namespace

const QList<Command>& commands()
{
    static const QList<Command> all = {
        {"plugins", "FILE...", "Shows what each plug-in offers.", nullptr, runPlugins},
        {"call", "FILE SLOT [KIND:VALUE...]",
         "Calls a slot in the plug-in's own thread and prints its answer, a value a line.",
         valueDetails, runCall},
        {"action", "FILE SLOT [KIND:VALUE...]",
         "Posts an action, which the dispatcher delivers in its own thread.", valueDetails,
         runAction},
        {"form",
         "FILE [--load in.xml] [--save out.xml] [--set ID=VALUE...] [--click ID...] [--with "
         "FILE...]",
         "Shows the form of a plug-in; restores, changes and saves its values, clicks its buttons.",
         formDetails, runForm},
        {"frames", "[--size WxH] [--ratio W:H] [--seconds N] [--png FILE]",
         "Sends test frames from one plug-in to another, which checks them and measures the rate.",
         framesDetails, runFrames},
        {"roster", "FILE [EXPORT]",
         "Shows the contact list that the plug-in's slot roster answers, given EXPORT, as a tree.",
         nullptr, runRoster},
        {"demo", "", "Shows a call's whole journey through three example plug-ins, line by line.",
         nullptr, runDemo},
    };
    return all;
}

void writeLog(const QString& line)
{
    Console::error("mivo-host: " + line);
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

void deliver(MivoHost& host, const std::function<void()>& post)
{
    QObject::connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [](MivoPlugin* called) { Console::say(QString("delivered to %1").arg(called->name())); },
        Qt::DirectConnection);
    MivoHostLog::setWriter(countAndWrite);
    post();
    host.shutdown();
    MivoHostLog::setWriter(writeLog);
    if (failedActions.loadAcquire() > 0)
        throw Failure("the action failed");
}
