#ifndef SETTINGSPLUGIN_H
#define SETTINGSPLUGIN_H

#include <MivoField.h>
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
    /** Takes any values over, but for a nickname that is empty. */
    QString applyFields(const QList<MivoField>& fields) override;

private:
    QList<MivoField> newForm() const;

    MivoPluginAction greetEcho;
    QList<MivoField> chosen; // the form as the user has left it; empty as long as that is as new
};

#endif
