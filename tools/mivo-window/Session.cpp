#include "Session.h"

#include "DisplayText.h"

#include <MivoHost.h>
#include <MivoPluginThread.h>

#include <QMetaObject>
#include <QPointer>

#include <exception>

namespace {

const char stopped[] = "the plug-ins have been stopped meanwhile";

} // namespace

Session::Session(QObject* parent)
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

Session::~Session()
{
    close();
    pool.waitForDone();
    QMetaObject::invokeMethod(
        worker, [this] { stopHost(); }, Qt::BlockingQueuedConnection);
    worker->deleteLater();
    thread.quit();
    thread.wait();
}

void Session::stopHost()
{
    {
        QMutexLocker locker(&mutex);
        while (pieces > 0)
            idle.wait(&mutex);
        hostGeneration = 0;
    }
    if (host)
        host->shutdown();
    host.reset();
}

void Session::close()
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

void Session::open(const QStringList& newFiles)
{
    QStringList all = files;
    for (const QString& file : newFiles) {
        if (!all.contains(file))
            all.append(file);
    }
    close();
    const int own = ++generation;
    files = all;
    QMetaObject::invokeMethod(
        worker,
        [this, all, own] {
            auto fresh = std::make_unique<MivoHost>();
            QStringList errors;
            QStringList loaded;
            QList<PluginInfo> infos;
            for (const QString& file : all) {
                QString error;
                if (MivoPlugin* const plugin = fresh->load(file, &error)) {
                    PluginInfo info;
                    info.plugin = plugin;
                    info.generation = own;
                    info.file = file;
                    infos.append(info);
                    loaded.append(file);
                } else {
                    errors.append(error);
                }
            }
            QString error;
            if (fresh->start(&error)) {
                for (PluginInfo& info : infos) {
                    info.name = info.plugin->name();
                    info.version = info.plugin->version();
                    info.calls = info.plugin->callSlots();
                    info.actions = info.plugin->actionSlots();
                    info.services = info.plugin->services();
                }
            } else {
                errors.append(error);
                fresh->shutdown();
                fresh.reset();
                infos.clear();
                loaded.clear();
            }
            {
                const QMutexLocker locker(&mutex);
                host = std::move(fresh);
                hostGeneration = host ? own : 0;
            }
            tell(this, [this, own, infos, loaded, errors] {
                if (own != generation)
                    return; // closed, or opened anew, meanwhile
                running = infos;
                files = loaded;
                Q_EMIT opened();
                for (const QString& message : errors)
                    Q_EMIT failed(oneLine(message));
            });
        },
        Qt::QueuedConnection);
}

void Session::inBackground(int wanted, std::function<void(MivoHost*)> piece)
{
    ++inProgress;
    Q_EMIT callsChanged();
    MivoHost* used = nullptr;
    {
        // The host stays for as long as there are pieces.
        const QMutexLocker locker(&mutex);
        if (wanted == hostGeneration)
            used = host.get();
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

void Session::tell(QObject* receiver, const std::function<void()>& piece)
{
    QMetaObject::invokeMethod(receiver, piece, Qt::QueuedConnection);
}

void Session::call(const PluginInfo& plugin, const QString& slot, const QList<MivoArg>& arguments,
                   QObject* receiver, std::function<void(const CallAnswer&)> done)
{
    const QPointer<QObject> alive(receiver);
    inBackground(plugin.generation, [this, plugin, slot, arguments, alive, done](MivoHost* used) {
        CallAnswer answer;
        if (!used) {
            answer.error = stopped;
        } else {
            try {
                answer.values = used->call(plugin.plugin, slot, arguments);
                answer.isGiven = true;
            } catch (const std::exception& error) {
                answer.error = oneLine(QString::fromUtf8(error.what()));
            }
        }
        tell(this, [alive, done, answer] {
            if (alive)
                done(answer);
        });
    });
}

void Session::fields(const PluginInfo& plugin, QObject* receiver,
                     std::function<void(const QList<MivoField>&, const QString&)> done)
{
    const QPointer<QObject> alive(receiver);
    inBackground(plugin.generation, [this, plugin, alive, done](MivoHost* used) {
        QList<MivoField> fields;
        QString error;
        if (!used) {
            error = stopped;
        } else {
            try {
                fields = used->fields(plugin.plugin);
            } catch (const std::exception& exception) {
                error = oneLine(QString::fromUtf8(exception.what()));
            }
        }
        tell(this, [alive, done, fields, error] {
            if (alive)
                done(fields, error);
        });
    });
}

void Session::post(const PluginInfo& plugin, const QString& slot, const QList<MivoArg>& arguments)
{
    inBackground(plugin.generation, [this, plugin, slot, arguments](MivoHost* used) {
        QString message = stopped;
        if (used) {
            try {
                MivoPluginAction action = used->action(plugin.plugin, slot, arguments);
                action();
                return;
            } catch (const std::exception& error) {
                message = QString::fromUtf8(error.what());
            }
        }
        message = QString("%1.%2 was not posted: %3").arg(plugin.name, slot, message);
        tell(this, [this, message] { Q_EMIT failed(oneLine(message)); });
    });
}

void Session::run(const PluginInfo& plugin, const std::function<void()>& action)
{
    inBackground(plugin.generation, [action](MivoHost* used) {
        if (used)
            action();
    });
}

void Session::inPlugin(const PluginInfo& plugin, const std::function<void()>& piece)
{
    inBackground(plugin.generation, [plugin, piece](MivoHost* used) {
        if (used)
            QMetaObject::invokeMethod(plugin.plugin, piece, Qt::QueuedConnection);
    });
}
