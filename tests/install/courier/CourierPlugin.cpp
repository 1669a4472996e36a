#include <MivoPlugin.h>

/** A plug-in of the messenger with a host of its own. */
class CourierPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")
};

#include "CourierPlugin.moc"
