#ifndef ECHOPLUGIN_H
#define ECHOPLUGIN_H

#include <MivoPlugin.h>
#include <MivoTimer.h>
#include <MivoTimerReceiver.h>

#include <QMutex>

/** A plug-in to try calls with: it returns, adds, takes its time, fails, and waits for a timer. */
class EchoPlugin : public MivoPlugin, public MivoTimerReceiver
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;
    QString version() const override;

    void onTimer(const QString& timerName) override;

public Q_SLOTS:
    /** Answers the arguments as they are. */
    void echo(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers one Int: the sum of the arguments, all Int. */
    void sum(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Takes the Int of milliseconds that is its argument, then answers nothing. */
    void takeLong(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Throws a std::runtime_error with its argument, a String, as the message. */
    void fail(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Starts a timer for an Int of milliseconds under a String as its name; answers nothing. */
    void startTimer(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers the StringList of the names of the timers that have fired. */
    void firedTimers(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers the name of the thread that the call runs in. */
    void thread(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers what record() has been run with, one ArgList for each run. */
    void recorded(MivoPlugin* sender, QList<MivoArg>& arguments);

    /** An action: keeps its arguments for recorded(). */
    void record(QList<MivoArg>& arguments);
    /** An action: throws a std::runtime_error. */
    void failLater(QList<MivoArg>& arguments);

private:
    QStringList timerNames; // in the plug-in's own thread only
    QList<MivoArg> records; // written in the dispatcher's thread
    QMutex recordsMutex;
};

#endif
