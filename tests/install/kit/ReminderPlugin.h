#ifndef REMINDERPLUGIN_H
#define REMINDERPLUGIN_H

#include <MivoField.h>
#include <MivoPlugin.h>
#include <MivoTimerReceiver.h>

/** Shows texts when their time has come, with a sound of the plug-in "speaker" if there is one. */
class ReminderPlugin : public MivoPlugin, public MivoTimerReceiver
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    bool initialise(MivoHost& host) override;
    QList<MivoField> fields() const override;
    QString applyFields(const QList<MivoField>& fields) override;
    void onTimer(const QString& text) override;

public Q_SLOTS:
    /** Takes a String and the Int of milliseconds after which it is shown. */
    void remind(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers the StringList of what has been shown. */
    void shown(MivoPlugin* sender, QList<MivoArg>& arguments);

    /** An action: plays the sound. */
    void ding(QList<MivoArg>& arguments);

private:
    MivoHost* host = nullptr;
    bool isLoud = false;
    QStringList texts;
};

#endif
