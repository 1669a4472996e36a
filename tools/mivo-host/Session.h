#ifndef SESSION_H
#define SESSION_H

#include <MivoHost.h>
#include <MivoPlugin.h>

#include <QAtomicInt>
#include <QJsonObject>

#include <functional>

class MivoField;

/** The plug-in that stands for the program: who is called can call back, and is told a name. */
class OwnPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QString name() const override;
    QString version() const override;

    /** What report() does with what it is given, in the thread that runs it; nothing at first. */
    std::function<void(const QList<MivoArg>&)> reporter;

public Q_SLOTS:
    /** An action: what plug-ins run which have been asked to report something. */
    void report(QList<MivoArg>& arguments);
};

/**
 * A host with the plug-ins of one command. What fails throws a Failure with the reason in one
 * sentence. One at a time; it is used in the main thread.
 */
class Session
{
public:
    /** Where is said what comes. */
    enum Output { StandardOutput, ErrorOutput };

    explicit Session(Output output = StandardOutput);
    /** Shuts the host down. */
    ~Session();

    /** Loads the plug-in in @p file; to be called before start(). */
    MivoPlugin* load(const QString& file);
    /** Loads plug-ins, each behind those that it requires; returns them in that order. */
    QList<MivoPlugin*> loadAll(const QStringList& files);
    void start();

    /** Calls a slot by name, with the program's own plug-in as the sender. */
    QList<MivoArg> call(MivoPlugin* plugin, const QString& slot, const QList<MivoArg>& arguments);
    QList<MivoField> fields(MivoPlugin* plugin) const;
    /** Gives a form's values to the plug-in; returns the form as the plug-in then shows it. */
    QList<MivoField> applyFields(MivoPlugin* plugin, const QList<MivoField>& fields) const;
    /** An action that runs a slot by name. */
    MivoPluginAction action(MivoPlugin* plugin, const QString& slot,
                            const QList<MivoArg>& arguments) const;

    /**
     * From now on says what comes: actions that are delivered, timers that fire, and what is logged.
     */
    void listen() const;
    /** How much has come since listen(): one clause for the user. */
    QString arrived() const;
    QJsonObject arrivedCounts() const;
    /**
     * Shuts the host down, which delivers what has been posted. Throws a Failure when an action has
     * failed since listen().
     */
    void finish();

    /** To be set before start(); see OwnPlugin::reporter. */
    void setReporter(const std::function<void(const QList<MivoArg>&)>& reporter);

    MivoHost host;

private:
    Q_DISABLE_COPY(Session)

    OwnPlugin* own;
};

/** To be told of every event before it is delivered, in any thread: tells the timers of plug-ins. */
class TimerWatch
{
public:
    TimerWatch(QObject* receiver, QEvent* event);
    /** Says that the timer has fired, if it was one and the session listens. */
    ~TimerWatch();

private:
    Q_DISABLE_COPY(TimerWatch)

    QString name; // null if it was none
};

/** The writer of the host's log while no session listens: to standard error. */
void writeLog(const QString& line);

#endif
