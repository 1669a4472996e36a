#include "MivoHost.h"

#include "MivoCallActionEvent.h"
#include "MivoCallSlotEvent.h"
#include "MivoCallSlotTimeoutException.h"
#include "MivoDispatcher.h"
#include "MivoField.h"
#include "MivoHostLog.h"
#include "MivoLaterCall_p.h"
#include "MivoPlugin.h"
#include "MivoPluginLoader.h"
#include "MivoPluginSlots_p.h"
#include "MivoPluginThread.h"
#include "MivoSettingsStore_p.h"
#include "MivoWait.h"
#include "MivoXmlNode.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <memory>

namespace {

const int callTimeoutMs = 30000; // as MivoWait::callSlot() has it

QList<MivoArg> withName(const QString& slot, const QList<MivoArg>& arguments)
{
    QList<MivoArg> named = arguments;
    named.prepend(MivoArg(slot));
    return named;
}

/** The thread of the dispatcher: it delivers what has been posted before it ends. */
class DispatcherThread : public QThread
{
public:
    DispatcherThread()
    {
        setObjectName(QLatin1String("dispatcher"));
        dispatcher.moveToThread(this);
    }

    MivoDispatcher dispatcher;

protected:
    void run() override
    {
        exec();
        QCoreApplication::sendPostedEvents(&dispatcher, MivoCallActionEvent::EventType);
    }
};

/**
 * A posted call whose rendezvous lives as long as one of the two sides needs it. A call that is
 * never made, because its thread has ended, is answered with no values.
 */
class Request : public MivoCallSlotEvent
{
public:
    explicit Request(const std::shared_ptr<MivoWait>& answeredWait)
        : sharedWait(answeredWait)
    {
        wait = sharedWait.get();
    }
    ~Request() override { wait->wakeUp(); }

private:
    const std::shared_ptr<MivoWait> sharedWait;
};

/** A posted call by name that nobody waits for: its answer is handed on when it has been made. */
class LaterRequest : public Request
{
public:
    LaterRequest(const std::shared_ptr<MivoLaterCall::Link>& answeredLink,
                 const QString& calledPlugin, const QString& calledSlot)
        : Request(std::make_shared<MivoWait>())
        , link(answeredLink)
        , plugin(calledPlugin)
        , slot(calledSlot)
    {
    }
    ~LaterRequest() override
    {
        QList<MivoArg> answer = wait->getRetValue();
        const QString failure = failureIn(answer, plugin, slot);
        link->answer(failure.isEmpty() ? answer : QList<MivoArg>(), failure);
    }

    /** Takes what callByName() answers apart: empty, with the values alone left, on success. */
    static QString failureIn(QList<MivoArg>& answer, const QString& plugin, const QString& slot)
    {
        if (answer.isEmpty())
            return QString::fromLatin1("%1 has ended before it could be called").arg(plugin);
        if (answer.takeFirst().toBool())
            return QString();
        return QString::fromLatin1("%1: %2 failed: %3")
            .arg(plugin, slot, answer.first().toString());
    }

private:
    const std::shared_ptr<MivoLaterCall::Link> link;
    const QString plugin;
    const QString slot;
};

/** What is left of a time, in milliseconds. */
class Deadline
{
public:
    explicit Deadline(int milliseconds)
        : bound(milliseconds)
    {
        timer.start();
    }
    unsigned long left() const
    {
        const qint64 left = bound - timer.elapsed();
        return left > 0 ? static_cast<unsigned long>(left) : 0;
    }

private:
    QElapsedTimer timer;
    qint64 bound;
};

/** A plug-in of the host. What may be asked of it without touching the object stands beside it. */
struct LoadedPlugin
{
    MivoPlugin* plugin;
    MivoPluginThread* thread;
    QString name;
    const QMetaObject* metaObject;
    bool isInitialised; ///< or has been asked to
    MivoPluginStamp stamp;
};

/** Throws a MivoHostError when the plug-in has no such slot, as far as its class tells. */
void requireSlot(const LoadedPlugin& loaded, const QString& slot, MivoPluginSlots::Shape shape)
{
    const MivoPluginSlots known(loaded.metaObject, shape);
    if (!known.areByName() && known.indexOf(slot) < 0)
        throw MivoHostError(known.whyMissing(loaded.name, slot));
}

/** A file that is to be loaded. */
struct Candidate
{
    QString fileName;
    MivoPluginStamp stamp;
};

QString refusal(const QString& fileName, const QString& found, const QString& needed)
{
    return QString::fromLatin1("%1: found %2; needed: %3").arg(fileName, found, needed);
}

/** Threads that had to be given up; they may still be running, and so are never deleted. */
struct AbandonedThreads
{
    QMutex mutex;
    QList<QThread*> threads;
};

AbandonedThreads& abandonedThreads()
{
    static AbandonedThreads* const threads = new AbandonedThreads; // outlives all of them
    return *threads;
}

void abandon(QThread* thread, const QString& who)
{
    MivoHostLog::write(who + QLatin1String(" does not end: its thread is abandoned"));
    QMutexLocker locker(&abandonedThreads().mutex);
    abandonedThreads().threads.append(thread);
}

} // namespace

MivoHostError::MivoHostError(const QString& message)
    : std::runtime_error(message.toUtf8().constData())
{
}

MivoHostError::MivoHostError(const MivoHostError&) = default;
MivoHostError::~MivoHostError() noexcept = default;

QString MivoHostError::message() const
{
    return QString::fromUtf8(what());
}

class MivoHostPrivate
{
public:
    MivoHostPrivate()
        : dispatcherThread(new DispatcherThread)
        , shutdownTimeoutMs(MivoHost::DefaultShutdownTimeoutMs)
        , isStarted(false)
        , isShutDown(false)
        , isClosed(false)
        , hasEnded(true)
    {
    }

    /** Null when it is none of the host's, or has gone. To be called under the lock. */
    LoadedPlugin* find(const MivoPlugin* plugin)
    {
        for (int i = 0; plugin && !isClosed && i < int(plugins.size()); ++i) {
            if (plugins.at(i).plugin == plugin && plugins.at(i).thread->plugin() == plugin)
                return &plugins[i];
        }
        return nullptr;
    }

    /** A copy of what find() finds; throws a MivoHostError on null. To be called under the lock. */
    LoadedPlugin require(const MivoPlugin* plugin)
    {
        if (isClosed)
            throw MivoHostError(QString::fromLatin1("the host has been shut down"));
        const LoadedPlugin* const found = find(plugin);
        if (!found)
            throw MivoHostError(QString::fromLatin1("found %1; expected one of the host's plug-ins")
                                    .arg(plugin
                                             ? QLatin1String("an object that is none, or has gone")
                                             : QLatin1String("null")));
        return *found;
    }

    /** The first of the requirements of a plug-in that is not loaded; empty when all are. */
    QString lackOf(const MivoPluginStamp& stamp) const
    {
        const QStringList required = stamp.requirements();
        for (int i = 0; i < int(required.size()); ++i) {
            bool isThere = false;
            for (int j = 0; j < int(plugins.size()) && !isThere; ++j)
                isThere = plugins.at(j).stamp.name() == required.at(i)
                    || plugins.at(j).name == required.at(i);
            if (!isThere)
                return required.at(i);
        }
        return QString();
    }

    /** One sentence on why @p candidate, which lacks something, cannot be loaded. */
    QString whyNot(const Candidate& candidate, const QList<Candidate>& waiting) const
    {
        // From one to what it lacks, until that is not waiting, or until it comes round.
        QStringList way(candidate.stamp.name());
        QString lack = lackOf(candidate.stamp);
        while (!way.contains(lack)) {
            way.append(lack);
            for (int i = 0; i <= int(waiting.size()); ++i) {
                if (i == int(waiting.size()))
                    return refusal(
                        candidate.fileName,
                        QString::fromLatin1("a plug-in that requires \"%1\", which is "
                                            "not loaded")
                            .arg(way.mid(1).join(QLatin1String("\", which requires \""))),
                        QString::fromLatin1("that plug-in, before or together with this "
                                            "one"));
                if (waiting.at(i).stamp.name() == lack) {
                    lack = lackOf(waiting.at(i).stamp);
                    break;
                }
            }
        }
        way.append(lack);
        return refusal(candidate.fileName,
                       QString::fromLatin1("plug-ins that require each other (%1)")
                           .arg(way.join(QLatin1String(" requires "))),
                       QString::fromLatin1("one of them that can be loaded first"));
    }

    LoadedPlugin requireWithLock(const MivoPlugin* plugin)
    {
        QMutexLocker locker(&mutex);
        return require(plugin);
    }

    static void post(Request* request, const LoadedPlugin& loaded, MivoCallSlotEvent::Member member,
                     MivoPlugin* sender, const QList<MivoArg>& arguments)
    {
        request->arguments = arguments;
        request->sender = sender;
        request->target = loaded.plugin;
        request->member = member;
        QCoreApplication::postEvent(loaded.thread, request);
    }

    static std::shared_ptr<MivoWait> post(const LoadedPlugin& loaded,
                                          MivoCallSlotEvent::Member member, MivoPlugin* sender,
                                          const QList<MivoArg>& arguments)
    {
        const std::shared_ptr<MivoWait> wait(new MivoWait);
        post(new Request(wait), loaded, member, sender, arguments);
        return wait;
    }

    /** What is posted under the lock is posted before the thread is told to end, and so served. */
    LoadedPlugin requireRunning(const MivoPlugin* plugin)
    {
        const LoadedPlugin loaded = require(plugin);
        if (!loaded.thread->isRunning())
            throw MivoHostError(QString::fromLatin1("%1 is not running").arg(loaded.name));
        return loaded;
    }

    /**
     * Calls @p member in the thread of @p plugin and returns what it answers, which is never
     * nothing. Throws a MivoHostError when that cannot be done.
     */
    QList<MivoArg> ask(MivoPlugin* plugin, MivoCallSlotEvent::Member member, MivoPlugin* sender,
                       const QList<MivoArg>& arguments)
    {
        LoadedPlugin loaded;
        std::shared_ptr<MivoWait> wait;
        {
            QMutexLocker locker(&mutex);
            loaded = requireRunning(plugin);
            if (QThread::currentThread() != loaded.thread)
                wait = post(loaded, member, sender, arguments);
        }
        QList<MivoArg> answer = arguments;
        if (!wait) {
            (plugin->*member)(sender, answer);
        } else {
            if (!wait->wait(callTimeoutMs))
                throw MivoCallSlotTimeoutException();
            answer = wait->getRetValue();
        }
        if (answer.isEmpty())
            throw MivoHostError(
                QString::fromLatin1("%1 has ended before it could be called").arg(loaded.name));
        return answer;
    }

    /** Ends a plug-in and its thread; false when that had to be given up. */
    bool end(const LoadedPlugin& loaded) const
    {
        const Deadline deadline(shutdownTimeoutMs);
        if (!isStarted) // started to delete the plug-in, which lives there
            loaded.thread->start();
        else if (!loaded.thread->isRunning())
            MivoHostLog::write(loaded.name
                               + QLatin1String(": its thread has ended before its shutdown"));
        if (loaded.isInitialised && loaded.thread->isRunning()
            && !post(loaded, &MivoPlugin::shutdownInThread, nullptr, QList<MivoArg>())
                    ->wait(deadline.left()))
            return false;
        loaded.thread->quit();
        if (!loaded.thread->wait(deadline.left()))
            return false;
        delete loaded.thread;
        return true;
    }

    mutable QMutex mutex; // of plugins and isClosed
    DispatcherThread* dispatcherThread;
    std::unique_ptr<MivoSettingsStore> settings;
    QList<LoadedPlugin> plugins;
    int shutdownTimeoutMs;
    bool isStarted;
    bool isShutDown;
    bool isClosed; // plug-ins are neither found nor called any more
    bool hasEnded; // in full
};

const int MivoHost::DefaultShutdownTimeoutMs;

MivoHost::MivoHost()
    : d(new MivoHostPrivate)
{
    MivoCallActionEvent::dispatcher = &d->dispatcherThread->dispatcher;
}

MivoHost::~MivoHost()
{
    shutdown();
    MivoCallActionEvent::dispatcher = nullptr;
    delete d->dispatcherThread; // null when it had to be abandoned
    delete d;
}

MivoPlugin* MivoHost::load(const QString& fileName, QString* error)
{
    MivoPluginLoader loader(fileName);
    MivoPlugin* const plugin = loader.load();
    QString refused = loader.errorString();
    if (plugin && threadOf(plugin))
        refused = refusal(fileName, QString::fromLatin1("a plug-in that is loaded already"),
                          QString::fromLatin1("another file"));
    if (!refused.isEmpty()) {
        if (error)
            *error = refused;
        return nullptr;
    }
    take(plugin, loader.stamp());
    return plugin;
}

QList<MivoPlugin*> MivoHost::loadAll(const QStringList& fileNames, QStringList* refused)
{
    QList<MivoPlugin*> loaded;
    QStringList refusals;
    QList<Candidate> waiting;
    for (int i = 0; i < int(fileNames.size()); ++i) {
        const Candidate candidate = {fileNames.at(i), MivoPluginLoader(fileNames.at(i)).stamp()};
        waiting.append(candidate);
    }
    // Always the first that has all that it requires: the order given stays as far as it can.
    for (int i = 0; i < int(waiting.size());) {
        if (!d->lackOf(waiting.at(i).stamp).isEmpty()) {
            ++i;
            continue;
        }
        QString error;
        MivoPlugin* const plugin = load(waiting.takeAt(i).fileName, &error);
        if (plugin)
            loaded.append(plugin);
        else
            refusals.append(error);
        i = 0;
    }
    for (int i = 0; i < int(waiting.size()); ++i)
        refusals.append(d->whyNot(waiting.at(i), waiting));
    if (refused)
        *refused = refusals;
    return loaded;
}

QList<MivoPlugin*> MivoHost::loadFolder(const QString& folder, QStringList* refused)
{
    const QDir dir(folder);
    const QStringList names
        = dir.entryList(QStringList(QLatin1String("*.so")), QDir::Files | QDir::System, QDir::Name);
    QStringList files;
    for (int i = 0; i < int(names.size()); ++i)
        files.append(dir.filePath(names.at(i)));
    const QList<MivoPlugin*> loaded = loadAll(files, refused);
    if (refused && !dir.exists())
        refused->append(refusal(folder, QString::fromLatin1("no folder"),
                                QString::fromLatin1("one that holds plug-ins")));
    return loaded;
}

void MivoHost::add(MivoPlugin* plugin)
{
    take(plugin, MivoPluginStamp());
}

void MivoHost::take(MivoPlugin* plugin, const MivoPluginStamp& stamp)
{
    const QString name = plugin->name();
    const LoadedPlugin loaded
        = {plugin, new MivoPluginThread(name), name, plugin->metaObject(), false, stamp};
    QObject::connect(plugin, SIGNAL(destroyed(QObject*)), dispatcher(), SLOT(forget(QObject*)),
                     Qt::DirectConnection);
    plugin->setParent(nullptr); // an object with a parent cannot be moved
    loaded.thread->setPlugin(plugin);
    QMutexLocker locker(&d->mutex);
    d->plugins.append(loaded);
}

void MivoHost::setSettingsFolder(const QString& folder, KeptSecrets secrets)
{
    d->settings.reset(new MivoSettingsStore(folder, secrets == WithSecrets));
}

/** Gives a plug-in the form that is kept of it; called in its thread. */
void MivoHost::restoreForm(MivoPlugin& plugin) const
{
    if (!d->settings)
        return;
    const QString name = d->requireWithLock(&plugin).name;
    QString refusal;
    try {
        const MivoXmlNode kept = d->settings->read(name);
        if (!kept.isNull())
            refusal = plugin.applyFields(MivoField::fromXml(plugin.fields(), kept));
    } catch (...) {
        refusal = MivoHostLog::currentException();
    }
    if (!refusal.isEmpty())
        MivoHostLog::write(
            QString::fromLatin1("%1 does not take its kept settings over: %2").arg(name, refusal));
}

bool MivoHost::start(QString* error)
{
    if (d->isStarted || d->isShutDown) {
        if (error)
            *error = QString::fromLatin1("the host has been started or shut down before");
        return false;
    }
    d->isStarted = true;
    d->dispatcherThread->start();
    for (int i = 0; i < int(d->plugins.size()); ++i)
        d->plugins.at(i).thread->start();
    QList<MivoArg> host;
    host.append(MivoArg(static_cast<void*>(this)));
    for (int i = 0; i < int(d->plugins.size()); ++i) {
        LoadedPlugin& loaded = d->plugins[i];
        loaded.isInitialised = true;
        QString failure;
        try {
            failure = d->ask(loaded.plugin, &MivoPlugin::initialiseInThread, nullptr, host)
                          .at(0)
                          .toString();
        } catch (const MivoHostError& unreachable) {
            failure = unreachable.message();
        } catch (const MivoCallSlotTimeoutException&) {
            failure = QLatin1String("it has not answered in time");
        }
        if (!failure.isEmpty()) {
            if (error)
                *error
                    = QString::fromLatin1("%1 cannot be initialised: %2").arg(loaded.name, failure);
            return false;
        }
    }
    return true;
}

bool MivoHost::shutdown()
{
    if (d->isShutDown)
        return d->hasEnded;
    d->isShutDown = true;

    // First the actions, since they may call plug-ins that are still there.
    const MivoPlugin* blocked = nullptr;
    d->dispatcherThread->quit();
    if (!d->dispatcherThread->wait(static_cast<unsigned long>(d->shutdownTimeoutMs))) {
        blocked = d->dispatcherThread->dispatcher.servedPlugin();
        abandon(d->dispatcherThread, QLatin1String("the dispatcher"));
        d->dispatcherThread = nullptr;
        d->hasEnded = false;
    }

    QList<LoadedPlugin> ending;
    {
        QMutexLocker locker(&d->mutex);
        d->isClosed = true;
        ending = d->plugins;
        d->plugins.clear();
    }
    for (int i = int(ending.size()) - 1; i >= 0; --i) {
        const LoadedPlugin& loaded = ending.at(i);
        // Its own action is still running in the dispatcher's thread: it must stay.
        if (loaded.plugin == blocked || !d->end(loaded)) {
            abandon(loaded.thread, loaded.name);
            d->hasEnded = false;
        }
    }
    return d->hasEnded;
}

void MivoHost::setShutdownTimeout(int milliseconds)
{
    d->shutdownTimeoutMs = milliseconds;
}

int MivoHost::abandonedThreads()
{
    QMutexLocker locker(&::abandonedThreads().mutex);
    return int(::abandonedThreads().threads.size());
}

QList<MivoPlugin*> MivoHost::plugins() const
{
    QMutexLocker locker(&d->mutex);
    QList<MivoPlugin*> plugins;
    for (int i = 0; i < int(d->plugins.size()); ++i) {
        if (d->find(d->plugins.at(i).plugin))
            plugins.append(d->plugins.at(i).plugin);
    }
    return plugins;
}

MivoPlugin* MivoHost::findPlugin(const QString& name) const
{
    QMutexLocker locker(&d->mutex);
    for (int i = 0; i < int(d->plugins.size()); ++i) {
        if (d->plugins.at(i).name == name && d->find(d->plugins.at(i).plugin))
            return d->plugins.at(i).plugin;
    }
    return nullptr;
}

MivoPluginStamp MivoHost::stampOf(const MivoPlugin* plugin) const
{
    QMutexLocker locker(&d->mutex);
    const LoadedPlugin* const found = d->find(plugin);
    return found ? found->stamp : MivoPluginStamp();
}

MivoPluginThread* MivoHost::threadOf(const MivoPlugin* plugin) const
{
    QMutexLocker locker(&d->mutex);
    const LoadedPlugin* const found = d->find(plugin);
    return found ? found->thread : nullptr;
}

MivoDispatcher* MivoHost::dispatcher() const
{
    return d->dispatcherThread ? &d->dispatcherThread->dispatcher : nullptr;
}

QList<MivoArg> MivoHost::call(MivoPlugin* target, const QString& slot,
                              const QList<MivoArg>& arguments, MivoPlugin* sender) const
{
    const LoadedPlugin loaded = d->requireWithLock(target);
    requireSlot(loaded, slot, MivoPluginSlots::Call);
    QList<MivoArg> answer
        = d->ask(target, &MivoPlugin::callByName, sender, withName(slot, arguments));
    const QString failure = LaterRequest::failureIn(answer, loaded.name, slot);
    if (!failure.isEmpty())
        throw MivoHostError(failure);
    return answer;
}

void MivoHost::callLater(
    MivoPlugin* target, const QString& slot, const QList<MivoArg>& arguments, QObject* context,
    const std::function<void(const QList<MivoArg>&, const QString&)>& whenAnswered,
    MivoPlugin* sender) const
{
    QMutexLocker locker(&d->mutex);
    const LoadedPlugin* const asked = d->find(target);
    const QString who = (asked ? asked->name + QLatin1String(": ") : QString()) + slot;
    const std::shared_ptr<MivoLaterCall::Link> link
        = MivoLaterCall::start(context, who, callTimeoutMs, whenAnswered);
    try {
        const LoadedPlugin loaded = d->requireRunning(target);
        requireSlot(loaded, slot, MivoPluginSlots::Call);
        MivoHostPrivate::post(new LaterRequest(link, loaded.name, slot), loaded,
                              &MivoPlugin::callByName, sender, withName(slot, arguments));
    } catch (const MivoHostError& error) {
        link->answer(QList<MivoArg>(), error.message());
    }
}

QList<MivoField> MivoHost::fields(MivoPlugin* target) const
{
    const LoadedPlugin loaded = d->requireWithLock(target);
    const MivoArg answer
        = d->ask(target, &MivoPlugin::fieldsInThread, nullptr, QList<MivoArg>()).at(0);
    if (answer.getType() != MivoArg::FieldList)
        throw MivoHostError(QString::fromLatin1("%1: its form cannot be made: %2")
                                .arg(loaded.name, answer.toString()));
    return answer.toFieldList();
}

QList<MivoField> MivoHost::applyFields(MivoPlugin* target, const QList<MivoField>& fields) const
{
    const LoadedPlugin loaded = d->requireWithLock(target);
    QList<MivoArg> values;
    values.append(MivoArg(fields));
    const QList<MivoArg> answer = d->ask(target, &MivoPlugin::applyFieldsInThread, nullptr, values);
    const QString refusal = answer.first().toString();
    if (answer.size() != 2 || !refusal.isEmpty())
        throw MivoHostError(
            QString::fromLatin1("%1 does not take the values over: %2").arg(loaded.name, refusal));
    const QList<MivoField> shown = answer.at(1).toFieldList();
    try {
        if (d->settings)
            d->settings->write(loaded.name, shown);
    } catch (const std::runtime_error& error) {
        throw MivoHostError(
            QString::fromLatin1("%1 has taken the values over, but they are not kept: %2")
                .arg(loaded.name, QString::fromUtf8(error.what())));
    }
    return shown;
}

MivoPluginAction MivoHost::action(MivoPlugin* target, const QString& slot,
                                  const QList<MivoArg>& arguments) const
{
    const LoadedPlugin loaded = d->requireWithLock(target);
    requireSlot(loaded, slot, MivoPluginSlots::Action);
    return MivoPluginAction(target, &MivoPlugin::runByName, withName(slot, arguments));
}
