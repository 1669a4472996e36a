#ifndef GREETERPLUGIN_H
#define GREETERPLUGIN_H

#include <MivoPlugin.h>

class GreeterPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public Q_SLOTS:
    /** Answers a greeting to the one whose name, a String, is the argument. */
    void greet(MivoPlugin* sender, QList<MivoArg>& arguments);
};

#endif
