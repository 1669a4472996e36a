#ifndef CONSOLEPLUGIN_H
#define CONSOLEPLUGIN_H

#include <MivoField.h>
#include <MivoPlugin.h>
#include <MivoTimerReceiver.h>

/** A GUI plug-in without a window: its form and what happens to it are told in the host's log. */
class ConsolePlugin : public MivoPlugin, public MivoTimerReceiver
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;
    QList<MivoField> fields() const override;
    bool initialise(MivoHost& host) override;

    void onTimer(const QString& timerName) override;

public Q_SLOTS:
    /** Takes a String, the id of a contact, and builds the form for a text to it. */
    void open(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Takes a String, the id of a button of the form, and clicks it. */
    void click(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Takes a String to show to the user. */
    void show(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Takes an Int of milliseconds, after which the user is reminded. */
    void remind(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers a StringList of all that has been shown. */
    void shown(MivoPlugin* sender, QList<MivoArg>& arguments);

private:
    void showText(const QString& text);

    MivoHost* host = nullptr;
    QList<MivoField> form;
    QStringList shownTexts;
};

#endif
