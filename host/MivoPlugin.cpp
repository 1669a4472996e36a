#include "MivoPlugin.h"

MivoPlugin::MivoPlugin(QObject* parent)
    : QObject(parent)
{
}

MivoPlugin::~MivoPlugin() = default;

QString MivoPlugin::name() const
{
    return QString::fromLatin1(metaObject()->className());
}

QString MivoPlugin::version() const
{
    return QString();
}

bool MivoPlugin::initialise(MivoHost&)
{
    return true;
}

void MivoPlugin::shutdown()
{
}
