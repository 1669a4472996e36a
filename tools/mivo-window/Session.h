#ifndef SESSION_H
#define SESSION_H

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
    QList<MivoService> services;
};

/** What a call has answered. */
struct CallAnswer
{
    QList<MivoArg> values;
    QString error; ///< empty if it has answered
    bool isGiven = false;
};

/**
 * The host of the window's plug-ins, in a thread of its own, so that nothing that a plug-in does
 * blocks the user interface. Everything here is called in the thread of the user interface; so are
 * the signals and what is to be told.
 */
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(QObject* parent = nullptr);
    /** Closes; calls that run are waited for. */
    ~Session() override;

    /** The plug-ins that run. */
    QList<PluginInfo> plugins() const { return running; }
    /** How many calls have not answered. */
    int callsInProgress() const { return inProgress; }

    /**
     * Adds the plug-ins in these files to those that run. A host is filled before it starts: all
     * are started anew. Calls that run are waited for, meanwhile the window goes on.
     */
    void open(const QStringList& files);
    /** Stops all plug-ins and forgets them; closed() tells when. */
    void close();

    /** Calls a slot by name; @p done is told of the answer unless @p receiver has gone. */
    void call(const PluginInfo& plugin, const QString& slot, const QList<MivoArg>& arguments,
              QObject* receiver, std::function<void(const CallAnswer&)> done);
    /** Asks for the form of a plug-in. */
    void fields(const PluginInfo& plugin, QObject* receiver,
                std::function<void(const QList<MivoField>&, const QString& error)> done);
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
    /** One sentence. */
    void failed(const QString& message);
    void callsChanged();

private:
    Q_DISABLE_COPY(Session)

    /** Runs @p piece in the pool, with a host that stays until it returns. */
    void inBackground(int generation, std::function<void(MivoHost*)> piece);
    void tell(QObject* receiver, const std::function<void()>& piece);
    void stopHost();

    QThread thread;
    QObject* worker; ///< lives in the thread
    QThreadPool pool;
    QList<PluginInfo> running;
    QStringList files; ///< of the plug-ins that run
    int inProgress = 0;
    int generation = 0;

    QMutex mutex; ///< guards these three
    QWaitCondition idle;
    int pieces = 0; ///< that use the host in the background, or are about to
    int hostGeneration = 0;
    std::unique_ptr<MivoHost> host; ///< of the worker's thread
};

#endif
