#include "GreeterPlugin.h"

void GreeterPlugin::greet(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QString name = arguments.value(0).toString(); // throws unless it is a String
    arguments.clear();
    arguments.append(QString::fromLatin1("Hello, %1!").arg(name));
}

MIVO_EXPORT_PLUGIN(greeter, GreeterPlugin)
