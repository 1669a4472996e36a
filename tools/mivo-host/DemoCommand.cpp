#include "Commands.h"
#include "Console.h"
#include "ExamplePlugins.h"
#include "Session.h"

#include <MivoDispatcher.h>
#include <MivoHostLog.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>

#include <QElapsedTimer>
#include <QSemaphore>

namespace {

const int patienceMs = 60000; // far more than a loaded machine takes

/** Lets the plug-ins' lines appear among the host's own, each with the thread that it comes from. */
class SpokenLog
{
public:
    SpokenLog() { MivoHostLog::setWriter(Console::say); }
    ~SpokenLog() { MivoHostLog::setWriter(writeLog); }

private:
    Q_DISABLE_COPY(SpokenLog)
};

void waitUntilShown(Session& session, MivoPlugin* console, int count)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (session.call(console, "shown", {}).at(0).toStringList().size() < count) {
        if (elapsed.elapsed() > patienceMs)
            throw Failure(QString("nothing has been shown within %1 ms").arg(patienceMs));
        QThread::msleep(10);
    }
}

} // namespace

void runDemo(const Arguments&)
{
    const SpokenLog log;
    Session session;
    MivoHost& host = session.host;
    for (const char* name : {"console", "chat", "history"}) {
        const QString file = examplePlugin(name);
        const MivoPlugin* const plugin = session.load(file);
        Console::say(QString("loaded the plug-in %1 from %2").arg(plugin->name(), file));
    }
    session.start();
    Console::say("started a thread for each plug-in and one for the dispatcher");
    QSemaphore delivered;
    QObject::connect(
        host.dispatcher(), &MivoDispatcher::delivered, host.dispatcher(),
        [&delivered](MivoPlugin* called) {
            Console::say(QString("the action of %1 has been delivered").arg(called->name()));
            delivered.release();
        },
        Qt::DirectConnection);
    const auto waitUntilDelivered = [&delivered] {
        if (!delivered.tryAcquire(1, patienceMs))
            throw Failure(
                QString("the action has not been delivered within %1 ms").arg(patienceMs));
    };
    MivoPlugin* const console = host.findPlugin("console");
    MivoPlugin* const history = host.findPlugin("history");

    Console::say("calls console in its own thread and waits: it binds an action and builds a form");
    session.call(console, "open", {MivoArg(QString("ann@example.org"))});

    Console::say("has the button \"send\" clicked");
    session.call(console, "click", {MivoArg(QString("send"))});
    waitUntilDelivered();

    const MivoArg count = session.call(history, "count", {}).at(0);
    Console::say(
        QString("asks history for its count: toInt() of the answer is %1").arg(count.toInt()));
    try {
        count.toString();
    } catch (const std::runtime_error& error) {
        Console::say(QString("toString() of the same answer is refused: %1").arg(error.what()));
    }

    Console::say("has the button \"wrong\" clicked, whose action carries a String for the Buddy");
    session.call(console, "click", {MivoArg(QString("wrong"))});
    waitUntilDelivered();

    Console::say("has console start a timer of 50 ms");
    session.call(console, "remind", {MivoArg(50)});
    waitUntilShown(session, console, 2);

    host.shutdown();
    Console::say("shut down: all threads have ended");
}
