#ifndef %{PluginGuard}_H
#define %{PluginGuard}_H

#include <MivoField.h>
#include <MivoPlugin.h>
#include <MivoTimer.h>
#include <MivoTimerReceiver.h>

#include <QMutex>

/** Greets: when it is called, and again a while after it was asked to. */
class %{PluginClass} : public MivoPlugin, public MivoTimerReceiver
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;
    QString version() const override;
    QList<MivoService> services() const override;
    void shutdown() override;

    /** What the user chooses: a greeting, and after how many seconds it is repeated. */
    QList<MivoField> fields() const override;
    QString applyFields(const QList<MivoField>& fields) override;

    /** Called when the time of a MivoTimer of that name has come. */
    void onTimer(const QString& timerName) override;

public Q_SLOTS:
    /** A call: takes a String, a name, and answers the greeting, which is repeated later. */
    void greet(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** A call: answers the StringList of all greetings so far. */
    void greetings(MivoPlugin* sender, QList<MivoArg>& arguments);

    /** An action, which runs in the dispatcher's thread: takes a String and greets at once. */
    void wave(QList<MivoArg>& arguments);

private:
    void add(const QString& text);

    // In the plug-in's own thread only.
    QString greeting = QString::fromLatin1("Hello");
    int seconds = 60;
    QString lastText;
    MivoTimer timer;
    bool isTimerRunning = false;

    QMutex mutex; // of what both threads use
    QStringList texts;
};

#endif
