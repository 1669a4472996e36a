#include "BackgroundHost.h"

#include "DisplayText.h"
#include "Failure.h"
#include "HostCalls.h"
#include "MessageWatcher.h"

#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoPluginLoader.h>
#include <MivoPluginThread.h>

#include <QDeadlineTimer>
#include <QMetaObject>
#include <QPointer>
#include <QSemaphore>

#include <algorithm>

namespace {

const char stopped[] = "the plug-ins have been stopped meanwhile";

/** How long the end of the program waits for what plug-ins do while they are loaded or started. */
const int finishBoundMs = 60000;

/** How long calls that run then may take to end by themselves. */
const int lastCallsMs = 2000;

/** Runs @p piece and returns the sentence on what has failed; empty when nothing has. */
template <class Piece>
QString failureOf(Piece piece)
{
    try {
        piece();
        return QString();
    } catch (...) {
        return oneLine(MivoHostLog::currentException());
    }
}

/** Hosts that could not be shut down: threads that have been abandoned may still use them. */
void abandon(std::unique_ptr<MivoHost> host)
{
    static QList<MivoHost*>* const abandoned = new QList<MivoHost*>; // outlives all threads
    abandoned->append(host.release());
}

/** Why a file is no plug-in, without loading its code; empty when it may be one. */
QString refusalOf(const QString& file)
{
    MivoPluginLoader loader(file);
    if (loader.stamp().misfit().isEmpty())
        return QString();
    loader.load();
    return loader.errorString();
}

} // namespace

BackgroundHost::BackgroundHost(QObject* parent)
    : QObject(parent)
    , worker(new QObject)
{
    // Calls wait for each other only where their plug-in makes them.
    pool.setMaxThreadCount(64);
    pool.setExpiryTimeout(1000);
    thread.setObjectName("host");
    worker->moveToThread(&thread);
    thread.start();
}

BackgroundHost::~BackgroundHost()
{
    finish();
    pool.waitForDone();
    QMetaObject::invokeMethod(
        worker, [this] { host.reset(); }, Qt::BlockingQueuedConnection);
    worker->deleteLater();
    thread.quit();
    thread.wait();
}

void BackgroundHost::stopHost()
{
    {
        QMutexLocker locker(&mutex);
        while (pieces > 0 && !isFinishing)
            idle.wait(&mutex);
        hostGeneration = 0;
        if (isFinishing)
            return; // finish() comes to it, and calls still use the host
    }
    shutDown(std::move(host), hosted);
    hosted.clear();
}

void BackgroundHost::shutDown(std::unique_ptr<MivoHost> ending, const QList<PluginInfo>& inIt)
{
    if (!ending)
        return;
    QList<QPointer<QThread>> threads;
    for (const PluginInfo& plugin : inIt)
        threads.append(ending->threadOf(plugin.plugin));
    if (ending->shutdown())
        return;
    // Whose thread is still there could be opened again only as the very object that has not ended.
    for (int i = 0; i < threads.size(); ++i) {
        if (threads.at(i))
            stuck.append(inIt.at(i).file);
    }
    abandon(std::move(ending));
}

void BackgroundHost::close()
{
    if (!running.isEmpty())
        Q_EMIT closing();
    running.clear();
    files.clear();
    ++generation;
    QMetaObject::invokeMethod(
        worker,
        [this] {
            stopHost();
            tell(this, [this] { Q_EMIT closed(); });
        },
        Qt::QueuedConnection);
}

bool BackgroundHost::finish()
{
    if (!running.isEmpty())
        Q_EMIT closing();
    running.clear();
    files.clear();
    ++generation;
    {
        const QMutexLocker locker(&mutex);
        isFinishing = true;
        idle.wakeAll();
    }
    const auto done = std::make_shared<QSemaphore>();
    QMetaObject::invokeMethod(
        worker,
        [this, done] {
            {
                QMutexLocker locker(&mutex);
                hostGeneration = 0;
                // What the pages have asked for at the end comes first, such as that frames stop.
                QDeadlineTimer deadline(lastCallsMs);
                while (pieces > 0 && idle.wait(&mutex, deadline)) { }
            }
            // It stays until the calls that use it have returned, which they do now.
            if (host && !host->shutdown())
                abandon(std::move(host));
            done->release();
        },
        Qt::QueuedConnection);
    return done->tryAcquire(1, finishBoundMs) && MivoHost::abandonedThreads() == 0;
}

void BackgroundHost::open(const QStringList& newFiles)
{
    QStringList added;
    for (const QString& file : newFiles) {
        if (!files.contains(file) && !added.contains(file))
            added.append(file);
    }
    ++openings;
    QMetaObject::invokeMethod(
        worker,
        [this, added] {
            // What is no plug-in at all does not stop those that run.
            QStringList fitting;
            QStringList errors;
            for (const QString& file : added) {
                const QString error = stuck.contains(file)
                    ? QString("%1: found a plug-in that has not ended when it was to; needed: one "
                              "that has")
                          .arg(file)
                    : refusalOf(file);
                if (error.isEmpty())
                    fitting.append(file);
                else
                    errors.append(error);
            }
            tell(this, [this, fitting, errors] { reopen(fitting, errors); });
        },
        Qt::QueuedConnection);
}

void BackgroundHost::reopen(const QStringList& added, const QStringList& errors)
{
    if (added.isEmpty()) {
        --openings;
        for (const QString& error : errors)
            Q_EMIT failed(oneLine(error));
        Q_EMIT leftAsItWas();
        return;
    }
    QStringList all = files;
    for (const QString& file : added) {
        if (!all.contains(file))
            all.append(file);
    }
    close();
    const int own = ++generation;
    files = all;
    QMetaObject::invokeMethod(
        worker,
        [this, all, own, errors] {
            Opened result = startHost(all, own);
            result.errors = errors + result.errors;
            tell(this, [this, own, result] {
                --openings;
                for (const QString& error : result.errors)
                    Q_EMIT failed(oneLine(error));
                if (own != generation)
                    return; // closed, or opened anew, meanwhile
                running = result.plugins;
                files.clear();
                for (const PluginInfo& plugin : qAsConst(running))
                    files.append(plugin.file);
                Q_EMIT opened();
                for (const PluginInfo& plugin : qAsConst(running)) {
                    if (plugin.watcher)
                        watch(plugin);
                }
            });
        },
        Qt::QueuedConnection);
}

BackgroundHost::Opened BackgroundHost::startHost(QStringList wanted, int wantedGeneration)
{
    Opened opened;
    while (!wanted.isEmpty()) {
        {
            const QMutexLocker locker(&mutex);
            if (isFinishing)
                return Opened();
        }
        auto fresh = std::make_unique<MivoHost>();
        QStringList refused;
        const QList<PluginInfo> loaded = load(*fresh, wanted, wantedGeneration, &refused);
        opened.errors += refused;
        QString error;
        if (fresh->start(&error)) {
            opened.plugins = hosted = loaded;
            const QMutexLocker locker(&mutex);
            host = std::move(fresh);
            hostGeneration = wantedGeneration;
            return opened;
        }
        opened.errors.append(error);
        shutDown(std::move(fresh), loaded);
        // The others go on without the one that cannot work.
        wanted.clear();
        bool isFound = false;
        for (const PluginInfo& plugin : loaded) {
            if (!isFound && error.startsWith(plugin.name + " cannot be initialised"))
                isFound = true;
            else if (!stuck.contains(plugin.file))
                wanted.append(plugin.file);
        }
        if (!isFound)
            break;
    }
    return opened;
}

QList<PluginInfo> BackgroundHost::load(MivoHost& fresh, const QStringList& wanted,
                                       int wantedGeneration, QStringList* refused)
{
    // Plug-ins that are loaded in another order are known by what they were built as.
    QStringList left = wanted;
    QStringList names;
    for (const QString& file : wanted)
        names.append(MivoPluginLoader(file).stamp().name());
    QList<PluginInfo> infos;
    const QList<MivoPlugin*> loaded = fresh.loadAll(wanted, refused);
    for (MivoPlugin* const plugin : loaded) {
        PluginInfo info;
        info.plugin = plugin;
        info.generation = wantedGeneration;
        const int place = int(names.indexOf(fresh.stampOf(plugin).name()));
        if (place >= 0) {
            names.removeAt(place);
            info.file = left.takeAt(place);
        }
        // Its thread does not run yet, so that it may be asked from here.
        info.name = plugin->name();
        info.version = plugin->version();
        info.calls = plugin->callSlots();
        info.actions = plugin->actionSlots();
        follow(plugin, wantedGeneration);
        if (MessageWatcher::canWatch(info.calls)) {
            info.watcher = new MessageWatcher(
                [this, plugin, wantedGeneration](const QList<MivoArg>& arguments) {
                    tell(this, [this, plugin, wantedGeneration, arguments] {
                        if (wantedGeneration == generation)
                            Q_EMIT messageCame(plugin, arguments);
                    });
                });
            fresh.add(info.watcher);
        }
        infos.append(info);
    }
    return infos;
}

/** Asks a plug-in to tell of its messages. */
void BackgroundHost::watch(const PluginInfo& plugin)
{
    call(plugin, "watchMessages", {MivoArg(MessageWatcher::slotName())}, this,
         [this](const CallAnswer& answer) {
             if (!answer.isGiven)
                 Q_EMIT failed(tr("Messages will not be shown: %1").arg(answer.error));
         });
}

void BackgroundHost::follow(MivoPlugin* plugin, int followed)
{
    connect(
        plugin, &MivoPlugin::entriesChanged, this,
        [this, plugin, followed](const QList<MivoBuddy>& entries) {
            if (followed == generation)
                Q_EMIT entriesChanged(plugin, entries);
        },
        Qt::QueuedConnection);
    connect(
        plugin, &MivoPlugin::contactListChanged, this,
        [this, plugin, followed] {
            if (followed == generation)
                Q_EMIT contactListChanged(plugin);
        },
        Qt::QueuedConnection);
    connect(
        plugin, &MivoPlugin::formChanged, this,
        [this, plugin, followed] {
            if (followed == generation)
                Q_EMIT formChanged(plugin);
        },
        Qt::QueuedConnection);
}

/** Null when it stops or has stopped. To be called under the lock. */
MivoHost* BackgroundHost::hostOf(int wanted) const
{
    return wanted > 0 && wanted == hostGeneration ? host.get() : nullptr;
}

void BackgroundHost::inBackground(int wanted, std::function<void(MivoHost*)> piece)
{
    ++inProgress;
    Q_EMIT callsChanged();
    MivoHost* used = nullptr;
    {
        // The host stays for as long as there are pieces.
        const QMutexLocker locker(&mutex);
        used = hostOf(wanted);
        ++pieces;
    }
    pool.start([this, used, piece = std::move(piece)] {
        piece(used);
        {
            const QMutexLocker locker(&mutex);
            --pieces;
            idle.wakeAll();
        }
        tell(this, [this] {
            --inProgress;
            Q_EMIT callsChanged();
        });
    });
}

void BackgroundHost::tell(QObject* receiver, const std::function<void()>& piece)
{
    QMetaObject::invokeMethod(receiver, piece, Qt::QueuedConnection);
}

void BackgroundHost::call(const PluginInfo& plugin, const QString& slot,
                          const QList<MivoArg>& arguments, QObject* receiver,
                          std::function<void(const CallAnswer&)> done)
{
    const QPointer<QObject> alive(receiver);
    inBackground(plugin.generation, [this, plugin, slot, arguments, alive, done](MivoHost* used) {
        CallAnswer answer;
        answer.error = failureOf([&] {
            if (!used)
                throw Failure(stopped);
            answer.values = HostCalls::call(*used, plugin.plugin, plugin.name, slot, arguments,
                                            plugin.watcher);
            answer.isGiven = true;
        });
        tell(this, [alive, done, answer] {
            if (alive)
                done(answer);
        });
    });
}

void BackgroundHost::askForm(const PluginInfo& plugin,
                             const std::function<QList<MivoField>(MivoHost&)>& ask,
                             QObject* receiver, const std::function<void(const FormAnswer&)>& done)
{
    const QPointer<QObject> alive(receiver);
    inBackground(plugin.generation, [this, ask, alive, done](MivoHost* used) {
        FormAnswer answer;
        answer.error = failureOf([&] {
            if (!used)
                throw Failure(stopped);
            answer.fields = ask(*used);
        });
        tell(this, [alive, done, answer] {
            if (alive)
                done(answer);
        });
    });
}

void BackgroundHost::fields(const PluginInfo& plugin, QObject* receiver,
                            const std::function<void(const FormAnswer&)>& done)
{
    askForm(
        plugin,
        [plugin](MivoHost& used) { return HostCalls::fields(used, plugin.plugin, plugin.name); },
        receiver, done);
}

void BackgroundHost::applyFields(const PluginInfo& plugin, const QList<MivoField>& fields,
                                 QObject* receiver,
                                 const std::function<void(const FormAnswer&)>& done)
{
    askForm(
        plugin,
        [plugin, fields](MivoHost& used) {
            return HostCalls::applyFields(used, plugin.plugin, plugin.name, fields);
        },
        receiver, done);
}

void BackgroundHost::services(const PluginInfo& plugin, QObject* receiver,
                              const std::function<void(const QList<MivoService>&)>& done)
{
    const QPointer<QObject> alive(receiver);
    inPlugin(plugin, [this, plugin, alive, done] {
        const QList<MivoService> offered = plugin.plugin->services();
        tell(this, [alive, done, offered] {
            if (alive)
                done(offered);
        });
    });
}

void BackgroundHost::post(const PluginInfo& plugin, const QString& slot,
                          const QList<MivoArg>& arguments)
{
    inBackground(plugin.generation, [this, plugin, slot, arguments](MivoHost* used) {
        const QString error = failureOf([&] {
            if (!used)
                throw Failure(stopped);
            MivoPluginAction action = used->action(plugin.plugin, slot, arguments);
            action();
        });
        if (!error.isEmpty())
            tell(this, [this, plugin, slot, error] {
                Q_EMIT failed(
                    oneLine(QString("%1.%2 was not posted: %3").arg(plugin.name, slot, error)));
            });
    });
}

void BackgroundHost::run(const PluginInfo& plugin, const std::function<void()>& action)
{
    inBackground(plugin.generation, [this, plugin, action](MivoHost* used) {
        const QString error = failureOf([&] {
            if (!used)
                throw Failure(stopped);
            action();
        });
        if (!error.isEmpty())
            tell(this, [this, plugin, error] {
                Q_EMIT failed(oneLine(QString("%1: %2").arg(plugin.name, error)));
            });
    });
}

void BackgroundHost::inPlugin(const PluginInfo& plugin, const std::function<void()>& piece)
{
    const QMutexLocker locker(&mutex);
    const MivoHost* const used = hostOf(plugin.generation);
    MivoPluginThread* const itsThread = used ? used->threadOf(plugin.plugin) : nullptr;
    if (!itsThread)
        return;
    // The thread's object lives in the thread, and knows whether the plug-in has gone meanwhile.
    QMetaObject::invokeMethod(
        itsThread,
        [itsThread, plugin, piece] {
            if (itsThread->plugin() != plugin.plugin)
                return;
            const QString error = failureOf(piece);
            if (!error.isEmpty())
                MivoHostLog::write(QString("%1: %2").arg(plugin.name, error));
        },
        Qt::QueuedConnection);
}
