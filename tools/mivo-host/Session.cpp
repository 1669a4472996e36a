#include "Session.h"

#include "Console.h"
#include "Failure.h"
#include "Files.h"
#include "HostCalls.h"

#include <MivoDispatcher.h>
#include <MivoField.h>
#include <MivoHostLog.h>

#include <QEvent>
#include <QTimer>

namespace {

/** What has come to the one session that listens; written in all threads. */
struct Arrivals
{
    QAtomicInt isListening;
    QAtomicInt actions;
    QAtomicInt timers;
    QAtomicInt failures;
};
Arrivals arrivals;

/** What the dispatcher logs of an action that threw is the one sign of it. */
void sayLogged(const QString& line)
{
    if (line.contains(": an action failed: ")) {
        arrivals.failures.ref();
        writeLog(line);
    } else {
        Console::say(line);
    }
}

QString counted(int count, const char* one, const char* several)
{
    return QString("%1 %2").arg(count).arg(count == 1 ? one : several);
}

void requireUtf8(const QString& file)
{
    if (!Files::isUtf8(file))
        throw Failure(QString("%1: found a file name that is not UTF-8; expected one that is, as "
                              "plug-ins are loaded under such names alone")
                          .arg(file));
}

} // namespace

QString OwnPlugin::name() const
{
    return "mivo-host";
}

QString OwnPlugin::version() const
{
    return MIVO_VERSION_STR;
}

void OwnPlugin::report(QList<MivoArg>& arguments)
{
    if (reporter)
        reporter(arguments);
}

Session::Session(Output output)
    : own(new OwnPlugin)
{
    Console::sayOnError(output == ErrorOutput);
    host.add(own);
}

Session::~Session()
{
    host.shutdown();
    arrivals.isListening.storeRelease(0);
    MivoHostLog::setWriter(writeLog);
}

MivoPlugin* Session::load(const QString& file)
{
    requireUtf8(file);
    QString error;
    MivoPlugin* const plugin = host.load(file, &error);
    if (!plugin)
        throw Failure(error);
    return plugin;
}

QList<MivoPlugin*> Session::loadAll(const QStringList& files)
{
    for (const QString& file : files)
        requireUtf8(file);
    QStringList refused;
    const QList<MivoPlugin*> loaded = host.loadAll(files, &refused);
    if (!refused.isEmpty())
        throw Failure(refused.first());
    return loaded;
}

void Session::start()
{
    QString error;
    if (!host.start(&error))
        throw Failure(error);
}

QList<MivoArg> Session::call(MivoPlugin* plugin, const QString& slot,
                             const QList<MivoArg>& arguments)
{
    if (!plugin->callSlots().contains(slot) && plugin->actionSlots().contains(slot))
        throw Failure(QString("%1: %2 is an action: use action").arg(plugin->name(), slot));
    return HostCalls::call(host, plugin, plugin->name(), slot, arguments, own);
}

QList<MivoField> Session::fields(MivoPlugin* plugin) const
{
    return HostCalls::fields(host, plugin, plugin->name());
}

QList<MivoField> Session::applyFields(MivoPlugin* plugin, const QList<MivoField>& fields) const
{
    return HostCalls::applyFields(host, plugin, plugin->name(), fields);
}

void Session::setReporter(const std::function<void(const QList<MivoArg>&)>& reporter)
{
    own->reporter = reporter;
}

MivoPluginAction Session::action(MivoPlugin* plugin, const QString& slot,
                                 const QList<MivoArg>& arguments) const
{
    if (!plugin->actionSlots().contains(slot) && plugin->callSlots().contains(slot))
        throw Failure(QString("%1: %2 is a call: use call").arg(plugin->name(), slot));
    return host.action(plugin, slot, arguments);
}

void Session::listen() const
{
    arrivals.actions.storeRelease(0);
    arrivals.timers.storeRelease(0);
    arrivals.failures.storeRelease(0);
    arrivals.isListening.storeRelease(1);
    MivoHostLog::setWriter(sayLogged);
    QObject::connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [](MivoPlugin* called) {
            arrivals.actions.ref();
            Console::say(QString("delivered to %1").arg(called->name()));
        },
        Qt::DirectConnection);
}

QString Session::arrived() const
{
    const int actions = arrivals.actions.loadAcquire();
    const int timers = arrivals.timers.loadAcquire();
    if (actions == 0 && timers == 0)
        return "nothing came";
    return QString("%1 and %2 came")
        .arg(counted(timers, "timer", "timers"), counted(actions, "action", "actions"));
}

QJsonObject Session::arrivedCounts() const
{
    return {{"timers", arrivals.timers.loadAcquire()}, {"actions", arrivals.actions.loadAcquire()}};
}

void Session::finish()
{
    host.shutdown();
    if (arrivals.failures.loadAcquire() > 0)
        throw Failure("the action failed");
}

TimerWatch::TimerWatch(QObject* receiver, QEvent* event)
{
    if (event->type() != QEvent::Timer || arrivals.isListening.loadAcquire() == 0)
        return;
    // The timers of plug-ins have their names, others have none.
    if (const QTimer* const timer = qobject_cast<QTimer*>(receiver))
        name = timer->objectName();
}

TimerWatch::~TimerWatch()
{
    if (name.isEmpty())
        return;
    arrivals.timers.ref();
    Console::say(QString("the timer \"%1\" has fired").arg(name));
}

void writeLog(const QString& line)
{
    Console::error("mivo-host: " + line);
}
