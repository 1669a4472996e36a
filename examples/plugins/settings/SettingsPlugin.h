#ifndef SETTINGSPLUGIN_H
#define SETTINGSPLUGIN_H

#include <MivoPlugin.h>
#include <MivoPluginAction.h>

/** A plug-in whose settings are a form with a field of every kind. */
class SettingsPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;
    QString version() const override;

    /** Looks for the echo plug-in, in which the button of the form runs the action "record". */
    bool initialise(MivoHost& host) override;
    /** Without the echo plug-in, the button is there and does nothing. */
    QList<MivoField> fields() const override;

private:
    MivoPluginAction greetEcho;
};

#endif
