#include "MivoHost.h"

#include "MivoCallActionEvent.h"
#include "MivoCallSlotTimeoutException.h"
#include "MivoDispatcher.h"
#include "MivoField.h"
#include "MivoHostLog.h"
#include "MivoPlugin.h"
#include "MivoPluginLoader.h"
#include "MivoPluginThread.h"
#include "MivoWait.h"

#include <QCoreApplication>
#include <QThread>

namespace {

QList<MivoArg> withName(const QString& slot, const QList<MivoArg>& arguments)
{
    QList<MivoArg> named = arguments;
    named.prepend(MivoArg(slot));
    return named;
}

QString noSuchSlot(const MivoPlugin& plugin, const QString& slot, const QStringList& known)
{
    const QString expected = known.isEmpty()
        ? QString::fromLatin1("it has none")
        : QString::fromLatin1("expected one of: %1").arg(known.join(QLatin1String(", ")));
    return QString::fromLatin1("%1 has no slot \"%2\"; %3").arg(plugin.name(), slot, expected);
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

/** A plug-in and its thread. */
struct Member
{
    MivoPlugin* plugin;
    MivoPluginThread* thread;
    bool isInitialised; ///< or has been asked to
};

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
        : isStarted(false)
        , isShutDown(false)
    {
    }

    /** The thread of one of the host's plug-ins, null for any other. */
    MivoPluginThread* threadOf(const MivoPlugin* plugin) const
    {
        for (int i = 0; i < members.size(); ++i) {
            if (members.at(i).plugin == plugin)
                return members.at(i).thread;
        }
        return nullptr;
    }

    /** Throws a MivoHostError when there is none that runs. */
    MivoPluginThread* runningThreadOf(const MivoPlugin* plugin) const
    {
        MivoPluginThread* const thread = threadOf(plugin);
        if (!thread || !thread->isRunning())
            throw MivoHostError(QString::fromLatin1("%1 is not running").arg(plugin->name()));
        return thread;
    }

    DispatcherThread dispatcherThread;
    QList<Member> members;
    bool isStarted;
    bool isShutDown;
};

MivoHost::MivoHost()
    : d(new MivoHostPrivate)
{
    MivoCallActionEvent::dispatcher = &d->dispatcherThread.dispatcher;
}

MivoHost::~MivoHost()
{
    shutdown();
    MivoCallActionEvent::dispatcher = nullptr;
    delete d;
}

MivoPlugin* MivoHost::load(const QString& fileName, QString* error)
{
    MivoPluginLoader loader(fileName);
    MivoPlugin* const plugin = loader.load();
    QString refused = loader.errorString();
    if (plugin && threadOf(plugin))
        refused = QString::fromLatin1(
                      "%1: found a plug-in that is loaded already; needed: another file")
                      .arg(fileName);
    if (!refused.isEmpty()) {
        if (error)
            *error = refused;
        return nullptr;
    }
    add(plugin);
    return plugin;
}

void MivoHost::add(MivoPlugin* plugin)
{
    Member member = {plugin, new MivoPluginThread(plugin->name()), false};
    plugin->setParent(nullptr); // an object with a parent cannot be moved
    plugin->moveToThread(member.thread);
    d->members.append(member);
}

bool MivoHost::start(QString* error)
{
    if (d->isStarted || d->isShutDown) {
        if (error)
            *error = QString::fromLatin1("the host has been started or shut down before");
        return false;
    }
    d->isStarted = true;
    d->dispatcherThread.start();
    for (int i = 0; i < d->members.size(); ++i)
        d->members.at(i).thread->start();
    for (int i = 0; i < d->members.size(); ++i) {
        Member& member = d->members[i];
        member.isInitialised = true;
        QString failure;
        try {
            QList<MivoArg> host;
            host.append(MivoArg(static_cast<void*>(this)));
            const QList<MivoArg> answer = MivoWait::callSlot(
                member.plugin, &MivoPlugin::initialiseInThread, nullptr, host, member.thread);
            failure = answer.first().toString();
        } catch (const MivoCallSlotTimeoutException&) {
            failure = QLatin1String("it has not answered in time");
        }
        if (!failure.isEmpty()) {
            if (error)
                *error = QString::fromLatin1("%1 cannot be initialised: %2")
                             .arg(member.plugin->name(), failure);
            return false;
        }
    }
    return true;
}

void MivoHost::shutdown()
{
    if (d->isShutDown)
        return;
    d->isShutDown = true;
    // First the actions, since they may call plug-ins that are still there.
    d->dispatcherThread.quit();
    d->dispatcherThread.wait();

    for (int i = int(d->members.size()) - 1; i >= 0; --i) {
        const Member member = d->members.at(i);
        if (!member.thread->isRunning()) {
            if (d->isStarted)
                MivoHostLog::write(
                    QString::fromLatin1("%1: its thread has ended before its shutdown")
                        .arg(member.plugin->name()));
            delete member.plugin;
            delete member.thread;
            continue;
        }
        try {
            QList<MivoArg> isInitialised;
            isInitialised.append(MivoArg(member.isInitialised));
            MivoWait::callSlot(member.plugin, &MivoPlugin::shutdownInThread, nullptr, isInitialised,
                               member.thread);
            delete member.thread;
        } catch (const MivoCallSlotTimeoutException&) {
            // A QThread that runs must not be destroyed: this one and its plug-in are given up.
            MivoHostLog::write(QString::fromLatin1("%1 does not end: its thread is abandoned")
                                   .arg(member.thread->objectName()));
        }
    }
    d->members.clear();
}

QList<MivoPlugin*> MivoHost::plugins() const
{
    QList<MivoPlugin*> plugins;
    for (int i = 0; i < d->members.size(); ++i)
        plugins.append(d->members.at(i).plugin);
    return plugins;
}

MivoPlugin* MivoHost::findPlugin(const QString& name) const
{
    for (int i = 0; i < d->members.size(); ++i) {
        if (d->members.at(i).plugin->name() == name)
            return d->members.at(i).plugin;
    }
    return nullptr;
}

MivoPluginThread* MivoHost::threadOf(const MivoPlugin* plugin) const
{
    return d->threadOf(plugin);
}

MivoDispatcher* MivoHost::dispatcher() const
{
    return &d->dispatcherThread.dispatcher;
}

QList<MivoArg> MivoHost::call(MivoPlugin* target, const QString& slot,
                              const QList<MivoArg>& arguments, MivoPlugin* sender) const
{
    if (!target->callSlots().contains(slot))
        throw MivoHostError(noSuchSlot(*target, slot, target->callSlots()));
    QList<MivoArg> answer
        = MivoWait::callSlot(target, &MivoPlugin::callByName, sender, withName(slot, arguments),
                             d->runningThreadOf(target));
    if (!answer.takeFirst().toBool())
        throw MivoHostError(QString::fromLatin1("%1: %2 failed: %3")
                                .arg(target->name(), slot, answer.first().toString()));
    return answer;
}

QList<MivoField> MivoHost::fields(MivoPlugin* target) const
{
    const QList<MivoArg> answers = MivoWait::callSlot(target, &MivoPlugin::fieldsInThread, nullptr,
                                                      QList<MivoArg>(), d->runningThreadOf(target));
    const MivoArg& answer = answers.first();
    if (answer.getType() != MivoArg::FieldList)
        throw MivoHostError(QString::fromLatin1("%1: its form cannot be made: %2")
                                .arg(target->name(), answer.toString()));
    return answer.toFieldList();
}

MivoPluginAction MivoHost::action(MivoPlugin* target, const QString& slot,
                                  const QList<MivoArg>& arguments) const
{
    if (!target->actionSlots().contains(slot))
        throw MivoHostError(noSuchSlot(*target, slot, target->actionSlots()));
    return MivoPluginAction(target, &MivoPlugin::runByName, withName(slot, arguments));
}
