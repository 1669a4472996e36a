#include "MivoTestHost.h"

#include "MivoFakePlugin_p.h"
#include "MivoTestOutcome_p.h"
#include "MivoTestWatch_p.h"

#include <MivoCallSlotTimeoutException.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoPluginAction.h>
#include <MivoPluginThread.h>

#include <QCoreApplication>
#include <QMutexLocker>
#include <QQueue>
#include <QTimer>

namespace {

/** A line of the host's log. */
struct LogLine
{
    QString text;
    const QThread* thread; // that wrote it
};

/** Where the host's log goes as long as there is a host; written in all threads. */
struct CaughtLog
{
    QMutex mutex;
    QList<LogLine> lines; // since they were last taken
};

CaughtLog& caughtLog()
{
    static CaughtLog* const log = new CaughtLog; // abandoned threads may still write
    return *log;
}

void catchLine(const QString& line)
{
    {
        QMutexLocker locker(&caughtLog().mutex);
        caughtLog().lines.append(LogLine{line, QThread::currentThread()});
    }
    qInfo("log: %s", qUtf8Printable(line));
}

/** Whether a line tells that an action has come to nothing, which is nowhere else to be seen. */
bool tellsOfFailedAction(const QString& line)
{
    return line.contains(QLatin1String(": an action failed: "))
        || line.startsWith(QLatin1String("an action is dropped: "));
}

/** What is posted to the dispatcher among actions: it is reached when those before are delivered. */
class Mark : public MivoPlugin
{
public:
    /** @p reached is called in the dispatcher's thread. */
    void post(const std::function<void()>& reached)
    {
        {
            QMutexLocker locker(&mutex);
            waiting.enqueue(reached);
        }
        MivoPluginAction(this, static_cast<MivoPluginAction::Member>(&Mark::reach),
                         QList<MivoArg>())();
    }

private:
    void reach(QList<MivoArg>&)
    {
        mutex.lock();
        const std::function<void()> reached = waiting.dequeue();
        mutex.unlock();
        reached();
    }

    QMutex mutex;
    QQueue<std::function<void()>> waiting;
};

} // namespace

class MivoTestHostPrivate
{
public:
    explicit MivoTestHostPrivate(const MivoTestPlace& madePlace)
        : madeAt(madePlace)
    {
    }

    /** Also of one that has gone, which is not asked. */
    QString nameOf(const MivoPlugin* plugin) const
    {
        const MivoPluginThread* const thread = host->threadOf(plugin);
        return thread ? thread->objectName() : QStringLiteral("no plug-in of the host");
    }

    std::shared_ptr<MivoTestOutcomePrivate> toCome(const MivoTestPlace& place,
                                                   const QString& asked) const
    {
        return std::make_shared<MivoTestOutcomePrivate>(place, asked, boundMs);
    }

    /** Runs @p piece in the thread of the test, whoever calls this. */
    void inTestThread(const std::function<void()>& piece)
    {
        QMetaObject::invokeMethod(&context, piece, Qt::QueuedConnection);
    }

    /** What becomes of the actions that @p post posts to the dispatcher. */
    std::shared_ptr<MivoTestOutcomePrivate> delivery(const MivoTestPlace& place, const QString& who,
                                                     const std::function<void()>& post);

    const MivoTestPlace madeAt;
    MivoTestWatch::Moment begin = MivoTestWatch::begin();
    QObject context; // of the test's thread: what comes later than it is dropped
    Mark mark; // before the host, whose dispatcher may still reach it
    std::unique_ptr<MivoHost> host = std::make_unique<MivoHost>();
    QList<std::shared_ptr<MivoFakePluginPrivate>> fakes;
    QStringList allowedClasses;
    int boundMs = MivoTestHost::DefaultBoundMs;
    bool isStarted = false;
    bool isShutDown = false;
    bool hasEnded = true;
};

std::shared_ptr<MivoTestOutcomePrivate>
MivoTestHostPrivate::delivery(const MivoTestPlace& place, const QString& who,
                              const std::function<void()>& post)
{
    if (!isStarted || isShutDown)
        return MivoTestOutcomePrivate::finished(
            place,
            QStringLiteral("%1: found a host that does not run; expected start() before").arg(who));
    const std::shared_ptr<MivoTestOutcomePrivate> outcome
        = toCome(place, who + QStringLiteral(" has not been delivered"));
    // What is written between the two marks, in the thread that reaches them, is of these actions.
    const std::shared_ptr<int> first = std::make_shared<int>(0);
    mark.post([first] {
        QMutexLocker locker(&caughtLog().mutex);
        *first = int(caughtLog().lines.size());
    });
    post();
    mark.post([this, first, outcome] {
        QString failure;
        {
            QMutexLocker locker(&caughtLog().mutex);
            QList<LogLine>& lines = caughtLog().lines;
            for (int i = *first; i < int(lines.size()) && failure.isNull(); ++i) {
                if (lines.at(i).thread == QThread::currentThread()
                    && tellsOfFailedAction(lines.at(i).text))
                    failure = lines.takeAt(i).text;
            }
        }
        inTestThread([outcome, failure] { outcome->finish(QList<MivoArg>(), failure); });
    });
    return outcome;
}

MivoTestHost::MivoTestHost(const MivoTestPlace& place)
    : d(new MivoTestHostPrivate(place))
{
    if (!QCoreApplication::instance())
        qFatal("MivoTestHost: found no QCoreApplication; expected one, as QTEST_GUILESS_MAIN() "
               "makes it");
    MivoHostLog::setWriter(catchLine);
}

MivoTestHost::~MivoTestHost()
{
    shutdown(d->madeAt);
    // What a thread still uses that had to be abandoned must not go.
    static QList<MivoTestHostPrivate*>* const abandoned = new QList<MivoTestHostPrivate*>;
    if (d->hasEnded)
        delete d;
    else
        abandoned->append(d);
}

void MivoTestHost::setBound(int milliseconds)
{
    d->boundMs = milliseconds;
    d->host->setShutdownTimeout(milliseconds);
}

void MivoTestHost::addPlugin(MivoPlugin* plugin)
{
    d->host->add(plugin);
}

MivoPlugin* MivoTestHost::add(MivoFakePlugin& fake)
{
    MivoPlugin* const plugin = new MivoFakeInHost(fake.d);
    fake.d->plugin = plugin;
    d->fakes.append(fake.d);
    d->host->add(plugin);
    return plugin;
}

MivoTestOutcome MivoTestHost::start(const MivoTestPlace& place)
{
    QString failure;
    d->isStarted = true;
    if (d->host->start(&failure))
        failure = QString();
    return MivoTestOutcome(MivoTestOutcomePrivate::finished(place, failure));
}

MivoTestOutcome MivoTestHost::call(MivoPlugin* plugin, const QString& slot,
                                   const QList<MivoArg>& arguments, MivoPlugin* sender,
                                   const MivoTestPlace& place)
{
    const std::shared_ptr<MivoTestOutcomePrivate> outcome
        = d->toCome(place, QStringLiteral("%1: %2 has not answered").arg(d->nameOf(plugin), slot));
    d->host->callLater(
        plugin, slot, arguments, &d->context,
        [outcome](const QList<MivoArg>& values, const QString& failure) {
            outcome->finish(values, failure);
        },
        sender);
    return MivoTestOutcome(outcome);
}

MivoTestOutcome MivoTestHost::post(MivoPlugin* plugin, const QString& slot,
                                   const QList<MivoArg>& arguments, const MivoTestPlace& place)
{
    MivoPluginAction action;
    try {
        action = d->host->action(plugin, slot, arguments);
    } catch (const MivoHostError& error) {
        return MivoTestOutcome(MivoTestOutcomePrivate::finished(place, error.message()));
    }
    return MivoTestOutcome(
        d->delivery(place, QStringLiteral("%1: the action \"%2\"").arg(d->nameOf(plugin), slot),
                    [&action] { action(); }));
}

MivoTestOutcome MivoTestHost::post(const MivoPluginAction& action, const MivoTestPlace& place)
{
    if (!action.isValid())
        return MivoTestOutcome(MivoTestOutcomePrivate::finished(
            place, QStringLiteral("found an invalid action; expected one that calls a plug-in")));
    MivoPluginAction posted = action;
    return MivoTestOutcome(
        d->delivery(place, QStringLiteral("the action"), [&posted] { posted(); }));
}

MivoTestOutcome MivoTestHost::fireTimer(MivoPlugin* plugin, const QString& name,
                                        const MivoTestPlace& place)
{
    MivoPluginThread* const thread = d->host->threadOf(plugin);
    if (!thread || !thread->isRunning())
        return MivoTestOutcome(MivoTestOutcomePrivate::finished(
            place,
            QStringLiteral("the timer \"%1\": found a plug-in that does not run; expected one of "
                           "the host's, after start()")
                .arg(name)));
    const QString who = QStringLiteral("%1: the timer \"%2\"").arg(d->nameOf(plugin), name);
    const std::shared_ptr<MivoTestOutcomePrivate> outcome
        = d->toCome(place, who + QStringLiteral(" has not been served"));
    MivoTestHostPrivate* const record = d;
    QMetaObject::invokeMethod(
        thread,
        [record, name, who, outcome] {
            QString failure;
            QStringList others;
            try {
                QTimer* const timer = MivoTestWatch::timerOfThisThread(name, &others);
                if (!timer) {
                    failure = QStringLiteral("%1 does not run; expected %2")
                                  .arg(who,
                                       others.isEmpty() ? QStringLiteral("that any does")
                                                        : QStringLiteral("one of: ")
                                               + others.join(QLatin1String(", ")));
                } else {
                    if (timer->isSingleShot())
                        timer->stop();
                    QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
                }
            } catch (...) {
                failure = QStringLiteral("%1 failed: %2").arg(who, MivoHostLog::currentException());
            }
            record->inTestThread(
                [outcome, failure] { outcome->finish(QList<MivoArg>(), failure); });
        },
        Qt::QueuedConnection);
    return MivoTestOutcome(outcome);
}

MivoTestForm MivoTestHost::form(MivoPlugin* plugin, const MivoTestPlace& place)
{
    MivoTestForm form(*this, plugin, d->nameOf(plugin));
    form.reload(place);
    return form;
}

QStringList MivoTestHost::takeLog()
{
    QMutexLocker locker(&caughtLog().mutex);
    QStringList lines;
    for (const LogLine& line : qAsConst(caughtLog().lines))
        lines.append(line.text);
    caughtLog().lines.clear();
    return lines;
}

void MivoTestHost::allowLeft(const QString& className)
{
    d->allowedClasses.append(className);
}

MivoTestOutcome MivoTestHost::shutdown(const MivoTestPlace& place)
{
    if (d->isShutDown)
        return MivoTestOutcome(MivoTestOutcomePrivate::finished(place, QString()));
    d->isShutDown = true;
    d->hasEnded = d->host->shutdown();
    QStringList problems;
    const QStringList lines = takeLog();
    MivoHostLog::setWriter(nullptr);
    for (const QString& line : lines) {
        if (tellsOfFailedAction(line) || line.endsWith(QLatin1String(": its thread is abandoned")))
            problems.append(line);
    }
    for (const std::shared_ptr<MivoFakePluginPrivate>& fake : qAsConst(d->fakes))
        problems += fake->takeUnexpected();
    if (d->hasEnded) {
        problems += MivoTestWatch::leftThreads(d->begin, d->boundMs);
        problems += MivoTestWatch::leftObjects(d->begin, d->allowedClasses);
    }
    return MivoTestOutcome(MivoTestOutcomePrivate::finished(
        place, problems.isEmpty() ? QString() : problems.join(QLatin1String("\n   "))));
}

MivoHost& MivoTestHost::host() const
{
    return *d->host;
}
