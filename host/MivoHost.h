#ifndef MIVOHOST_H
#define MIVOHOST_H

#include "MivoArg.h"
#include "MivoHostGlobal.h"
#include "MivoPluginAction.h"
#include "MivoPluginStamp.h"

#include <functional>
#include <stdexcept>

class MivoDispatcher;
class MivoField;
class MivoHostPrivate;
class MivoPlugin;
class MivoPluginThread;
class QObject;

/** A call by name that could not be made, or whose slot threw: the message says which and why. */
class MIVO_HOST_EXPORT MivoHostError : public std::runtime_error
{
public:
    explicit MivoHostError(const QString& message);
    MivoHostError(const MivoHostError& other);
    ~MivoHostError() noexcept override;

    QString message() const;
};

/**
 * A plain host of plug-ins: a thread with the dispatcher of posted actions, and a thread for each
 * plug-in. It is what plug-ins are written, run and tested with outside the messenger.
 *
 * One host at a time. It is made, filled, started and destroyed in one thread, in which a
 * QCoreApplication exists. The other functions may be called from any thread, the plug-ins' own
 * included, as long as the host exists. Plug-ins and threads belong to the host, which makes its
 * dispatcher the receiver of all actions. A plug-in that has gone, and every plug-in once the host
 * is being shut down, is not found any more.
 */
class MIVO_HOST_EXPORT MivoHost
{
public:
    /** How long shutdown() waits, in milliseconds, unless it is told otherwise. */
    static const int DefaultShutdownTimeoutMs = 10000;

    MivoHost();
    /** Shuts down. */
    ~MivoHost();

    /**
     * Loads the plug-in in @p fileName, which then belongs to the host; to be called before
     * start(). Returns null when it is refused, with one sentence on the reason in @p error. Its
     * code stays loaded until the process ends. What it requires is not looked at.
     */
    MivoPlugin* load(const QString& fileName, QString* error = nullptr);
    /**
     * Loads plug-ins as load() does, each behind those that it requires by its stamp, otherwise in
     * the order given. Returns those that have been loaded, in the order in which they were. A
     * plug-in that requires what is neither here nor loaded before, or itself in a roundabout way,
     * is refused, and the others go on; @p refused gets a sentence for each.
     */
    QList<MivoPlugin*> loadAll(const QStringList& fileNames, QStringList* refused = nullptr);
    /** loadAll() of the files *.so in a folder, in the order of their names. */
    QList<MivoPlugin*> loadFolder(const QString& folder, QStringList* refused = nullptr);
    /**
     * Takes over a plug-in that was made in the calling thread, from its parent too if it has one;
     * to be called before start(). Throws what its name() throws, and has then taken nothing.
     */
    void add(MivoPlugin* plugin);

    enum KeptSecrets { WithoutSecrets, WithSecrets };
    /**
     * The folder in which the form of each plug-in is kept as XML from one run to the next, where
     * its owner alone may read it: what applyFields() has brought into it is given to the plug-in
     * after initialise() and before any call. A file that is broken is set aside, with a line in the
     * log. Secrets (MivoSecret.h) are left out unless asked for. To be called before start(); none
     * by default. The folder is made when it is needed.
     */
    void setSettingsFolder(const QString& folder, KeptSecrets secrets = WithoutSecrets);

    /**
     * Starts all threads, then initialises the plug-ins in the order they were loaded, each in its
     * own thread. Returns false, with one sentence in @p error, when one of them could not: the
     * host must then be shut down. A host is started once: a second time returns false and changes
     * nothing.
     */
    bool start(QString* error = nullptr);
    /**
     * Delivers the actions that have been posted, then shuts the plug-ins down in the opposite
     * order, each in its own thread, and ends the threads, where the plug-ins are deleted when
     * nothing of theirs runs any more. Nothing of the host may be used afterwards. Does nothing the
     * second time.
     *
     * A thread that has not ended within the time-out, which the dispatcher's and each plug-in's
     * have, is abandoned with a line in the log: it and its plug-in stay as they are. Returns
     * whether all have ended. Otherwise the process should end by std::_Exit(), so that nothing is
     * destroyed that a thread still uses, the host itself included.
     */
    bool shutdown();
    /** How long shutdown() waits for a thread, in milliseconds. */
    void setShutdownTimeout(int milliseconds);
    /** How many threads this process has had to abandon, whatever their host. */
    static int abandonedThreads();

    /** In the order they were loaded. */
    QList<MivoPlugin*> plugins() const;
    /** The first plug-in of that MivoPlugin::name(), as it was when it was loaded; null when there
     * is none. */
    MivoPlugin* findPlugin(const QString& name) const;
    /** What the file of a plug-in says of itself; empty for one that is from no file. */
    MivoPluginStamp stampOf(const MivoPlugin* plugin) const;
    /** The thread of one of the host's plug-ins, null for any other. */
    MivoPluginThread* threadOf(const MivoPlugin* plugin) const;
    /** Null when it had to be abandoned. */
    MivoDispatcher* dispatcher() const;

    /**
     * Calls a slot by name in the plug-in's own thread and returns the arguments as the slot left
     * them. Throws a MivoHostError when @p target is none of the host's plug-ins, when there is no
     * such slot, when the thread is not running, or when the slot threw, and
     * MivoCallSlotTimeoutException after 30000 ms without an answer.
     */
    QList<MivoArg> call(MivoPlugin* target, const QString& slot, const QList<MivoArg>& arguments,
                        MivoPlugin* sender = nullptr) const;
    /**
     * The form of a plug-in, made in the plug-in's own thread. Throws as call() does, and a
     * MivoHostError when MivoPlugin::fields() threw.
     */
    QList<MivoField> fields(MivoPlugin* target) const;
    /**
     * Gives what the user has chosen in the form of a plug-in to the plug-in, in its own thread, and
     * keeps it in the settings folder. Returns the form as the plug-in then shows it. Throws as
     * call() does, and a MivoHostError with the plug-in's own sentence when it refuses the values.
     */
    QList<MivoField> applyFields(MivoPlugin* target, const QList<MivoField>& fields) const;
    /**
     * As call(), but returns at once, and never throws: @p whenAnswered is called once, in the
     * thread of @p context and by its event loop, with the values, or with none and the reason why
     * there are none, which after 30000 ms is the time-out. It is not called when @p context has
     * gone by then, nor when its thread has ended. To be called in any thread.
     */
    void callLater(MivoPlugin* target, const QString& slot, const QList<MivoArg>& arguments,
                   QObject* context,
                   const std::function<void(const QList<MivoArg>& values, const QString& failure)>&
                       whenAnswered,
                   MivoPlugin* sender = nullptr) const;
    /**
     * An action that runs a slot by name; throws a MivoHostError when @p target is none of the
     * host's plug-ins, or when there is no such slot. It is to be run without arguments: given ones would take the place of the slot's name, which is
     * stored too.
     */
    MivoPluginAction action(MivoPlugin* target, const QString& slot,
                            const QList<MivoArg>& arguments) const;

private:
    Q_DISABLE_COPY(MivoHost)
    friend class MivoPlugin;

    void restoreForm(MivoPlugin& plugin) const;
    void take(MivoPlugin* plugin, const MivoPluginStamp& stamp);

    MivoHostPrivate* d;
};

#endif
