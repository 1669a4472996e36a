#include "Commands.h"
#include "Console.h"
#include "ValueText.h"

#include <MivoDispatcher.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSemaphore>

namespace {

const int patienceMs = 5000;

/** The example plug-in in the build tree, or beside an installed mivo-host. */
QString examplePlugin()
{
    const QDir folder(QCoreApplication::applicationDirPath());
    for (const char* candidate : {"../plugins/echo.so", "../lib/mivo/plugins/echo.so"}) {
        const QString file = QDir::cleanPath(folder.absoluteFilePath(candidate));
        if (QFileInfo::exists(file))
            return file;
    }
    throw Failure("found no example plug-in echo.so beside mivo-host; expected its FILE");
}

QString joined(const QList<MivoArg>& values)
{
    QStringList texts;
    for (const MivoArg& value : values)
        texts.append(debugText(value).trimmed());
    return texts.isEmpty() ? QString("nothing") : texts.join(", ");
}

void waitForTimer(const MivoHost& host, MivoPlugin* plugin, const QString& name)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!host.call(plugin, "firedTimers", {}).at(0).toStringList().contains(name)) {
        if (elapsed.elapsed() > patienceMs)
            throw Failure(
                QString("the timer %1 has not fired within %2 ms").arg(name).arg(patienceMs));
        QThread::msleep(10);
    }
}

} // namespace

void runDemo(const QStringList& arguments)
{
    if (arguments.size() > 1)
        throw UsageError(
            QString("found %1 arguments; expected at most one FILE").arg(arguments.size()));
    const QString file = arguments.isEmpty() ? examplePlugin() : arguments.first();

    MivoHost host;
    MivoPlugin* const plugin = loadPlugin(host, file);
    Console::say(QString("loaded %1 %2 from %3").arg(plugin->name(), plugin->version(), file));
    startHost(host);
    Console::say(
        QString("started the thread of the dispatcher and the thread \"%1\" of the plug-in")
            .arg(host.threadOf(plugin)->objectName()));

    QSemaphore delivered;
    QObject::connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [&delivered](MivoPlugin* called) {
            Console::say(QString("delivered the action to %1").arg(called->name()));
            delivered.release();
        },
        Qt::DirectConnection);
    MivoPluginAction action
        = host.action(plugin, "record", {MivoArg(QString("hello")), MivoArg(42)});
    Console::say("bound an action to the slot record, with the arguments "
                 + joined(action.getActionData().mid(1)));
    action();
    Console::say("posted it: the call is made from the dispatcher's event loop, not from here");
    if (!delivered.tryAcquire(1, patienceMs))
        throw Failure(QString("the action has not been delivered within %1 ms").arg(patienceMs));
    Console::say("the plug-in has recorded " + joined(host.call(plugin, "recorded", {})));

    const QString thread = host.call(plugin, "thread", {}).at(0).toString();
    Console::say(
        QString("called the slot thread: it ran in the thread \"%1\" while this one waited")
            .arg(thread));
    const QList<MivoArg> sum = host.call(plugin, "sum", {MivoArg(2), MivoArg(40)});
    Console::say(QString("called the slot sum with 2 and 40: toInt() of the answer is %1")
                     .arg(sum.first().toInt()));
    try {
        sum.first().toString();
    } catch (const std::runtime_error& error) {
        Console::say(QString("toString() of the same answer is refused: %1").arg(error.what()));
    }
    try {
        host.call(plugin, "fail", {MivoArg(QString("out of coffee"))});
    } catch (const MivoHostError& error) {
        Console::say(
            QString("called the slot fail, which throws; the host goes on: %1").arg(error.what()));
    }

    host.call(plugin, "startTimer", {MivoArg(50), MivoArg(QString("tea"))});
    Console::say("asked the plug-in for a timer \"tea\" of 50 ms");
    waitForTimer(host, plugin, "tea");
    Console::say("the timer \"tea\" has fired in the plug-in's thread");

    host.shutdown();
    Console::say("shut down: all threads have ended");
}
