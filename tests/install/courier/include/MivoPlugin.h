#ifndef MIVOPLUGIN_H
#define MIVOPLUGIN_H

#include <QObject>

#define MivoPlugin_iid "MivoPlugin/7"

/** The plug-in base of a messenger that has a host of its own. */
class MivoPlugin : public QObject
{
};

#endif
