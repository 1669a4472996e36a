#ifndef BACKGROUNDHOST_H
#define BACKGROUNDHOST_H

#include <MivoBuddy.h>
#include <MivoField.h>
#include <MivoPlugin.h>
#include <MivoService.h>

#include <QMutex>
#include <QObject>
#include <QThread>
#include <QThreadPool>
#include <QWaitCondition>

#include <functional>
#include <memory>

class MivoHost;

/** What is known of a plug-in that runs; good until the plug-ins are opened anew. */
struct PluginInfo
{
    MivoPlugin* plugin = nullptr;
    int generation = 0; ///< of the host that it runs in
    QString file;
    QString name;
    QString version;
    QStringList calls;
    QStringList actions;
    MivoPlugin* watcher = nullptr; ///< whom it tells of messages; null if it has none
};

/** What a call has answered. */
struct CallAnswer
{
    QList<MivoArg> values;
    QString error; ///< one sentence; empty if it has answered
    bool isGiven = false;
};

/** What a plug-in has answered of its form. */
struct FormAnswer
{
    QList<MivoField> fields;
    QString error; ///< one sentence; empty if it has answered
};

/**
 * The host of the window's plug-ins, in a thread of its own, so that nothing that a plug-in does
 * blocks the user interface. Everything here is called in the thread of the user interface; so are
 * the signals and what is to be told.
 */
class BackgroundHost : public QObject
{
    Q_OBJECT

public:
    explicit BackgroundHost(QObject* parent = nullptr);
    /** Calls finish(), then waits for what still runs, which calls do for at most 30 s. */
    ~BackgroundHost() override;

    /** The plug-ins that run. */
    QList<PluginInfo> plugins() const { return running; }
    /** Whether files are being opened. */
    bool isOpening() const { return openings > 0; }
    /** How many calls have not answered. */
    int callsInProgress() const { return inProgress; }

    /**
     * Adds the plug-ins in these files to those that run, each behind those that it requires. A
     * host is filled before it starts: all are started anew, unless none of the files is a plug-in.
     * Calls that run are waited for, meanwhile the window goes on. A plug-in that cannot work is
     * told of and left out.
     */
    void open(const QStringList& files);
    /** Stops all plug-ins and forgets them; closed() tells when. */
    void close();
    /**
     * Stops all plug-ins in order, for good. Calls that run are not waited for longer than the host
     * waits for a plug-in that ends (MivoHost::DefaultShutdownTimeoutMs). Returns false when
     * something still runs that had to be given up: the process should then end by std::_Exit().
     */
    bool finish();

    /** Calls a slot by name; @p done is told of the answer unless @p receiver has gone. */
    void call(const PluginInfo& plugin, const QString& slot, const QList<MivoArg>& arguments,
              QObject* receiver, std::function<void(const CallAnswer&)> done);
    /** Asks for the form of a plug-in. */
    void fields(const PluginInfo& plugin, QObject* receiver,
                const std::function<void(const FormAnswer&)>& done);
    /** Hands a form to a plug-in, and tells the one that it then shows. */
    void applyFields(const PluginInfo& plugin, const QList<MivoField>& fields, QObject* receiver,
                     const std::function<void(const FormAnswer&)>& done);
    /** Asks for what a plug-in offers, which it may know only once it runs. */
    void services(const PluginInfo& plugin, QObject* receiver,
                  const std::function<void(const QList<MivoService>&)>& done);
    /** Runs an action slot by name; errors are told by failed(). */
    void post(const PluginInfo& plugin, const QString& slot, const QList<MivoArg>& arguments);
    /** Runs an action of a plug-in, or another that leads to one. */
    void run(const PluginInfo& plugin, const std::function<void()>& action);
    /** Runs @p piece in the plug-in's thread, if that still runs. */
    void inPlugin(const PluginInfo& plugin, const std::function<void()>& piece);

Q_SIGNALS:
    /** The plug-ins stop: nothing of theirs is to be used from now on. */
    void closing();
    void closed();
    void opened();
    /** Nothing has been opened, and what ran still does. */
    void leftAsItWas();
    /** One sentence. */
    void failed(const QString& message);
    void callsChanged();

    // What the plug-ins that run tell by the signals of these names.
    void entriesChanged(MivoPlugin* plugin, const QList<MivoBuddy>& entries);
    void contactListChanged(MivoPlugin* plugin);
    void formChanged(MivoPlugin* plugin);
    /** Something has happened to a message: what a watching slot is given. */
    void messageCame(MivoPlugin* plugin, const QList<MivoArg>& arguments);

private:
    Q_DISABLE_COPY(BackgroundHost)

    struct Opened
    {
        QList<PluginInfo> plugins;
        QStringList errors;
    };

    void watch(const PluginInfo& plugin);
    void reopen(const QStringList& added, const QStringList& errors);
    MivoHost* hostOf(int wanted) const;
    /** Runs @p piece in the pool, with a host that stays until it returns. */
    void inBackground(int generation, std::function<void(MivoHost*)> piece);
    static void tell(QObject* receiver, const std::function<void()>& piece);
    void askForm(const PluginInfo& plugin, const std::function<QList<MivoField>(MivoHost&)>& ask,
                 QObject* receiver, const std::function<void(const FormAnswer&)>& done);
    // In the worker's thread.
    Opened startHost(QStringList wanted, int wantedGeneration);
    QList<PluginInfo> load(MivoHost& fresh, const QStringList& wanted, int wantedGeneration,
                           QStringList* refused);
    void follow(MivoPlugin* plugin, int followed);
    void stopHost();
    void shutDown(std::unique_ptr<MivoHost> ending, const QList<PluginInfo>& inIt);

    QThread thread;
    QObject* worker; ///< lives in the thread
    QThreadPool pool;
    QList<PluginInfo> running;
    QStringList files; ///< of the plug-ins that run
    int inProgress = 0;
    int openings = 0;
    int generation = 0;

    QMutex mutex; ///< guards these five
    QWaitCondition idle;
    int pieces = 0; ///< that use the host in the background, or are about to
    int hostGeneration = 0;
    bool isFinishing = false;
    std::unique_ptr<MivoHost> host; ///< of the worker's thread

    // Of the worker's thread.
    QList<PluginInfo> hosted;
    QStringList stuck; ///< files of plug-ins that had to be given up
};

#endif
