#include <MivoPlugin.h>

class GreeterPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override { return QString::fromLatin1("greeter"); }

public Q_SLOTS:
    /** A call: answers a greeting to the one whose name, a String, is the argument. */
    void greet(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const QString who = arguments.value(0).toString(); // throws unless it is a String
        arguments.clear();
        arguments.append(QString::fromLatin1("Hello, %1!").arg(who));
    }
};

MIVO_EXPORT_PLUGIN(greeter, GreeterPlugin)
#include "GreeterPlugin.moc"
