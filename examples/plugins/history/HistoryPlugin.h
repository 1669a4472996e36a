#ifndef HISTORYPLUGIN_H
#define HISTORYPLUGIN_H

#include <MivoPlugin.h>

/** Keeps what was said to whom. */
class HistoryPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;

public Q_SLOTS:
    /** Takes a Buddy and a String; answers an Int, the number of texts kept so far. */
    void append(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Answers an Int, the number of texts kept so far. */
    void count(MivoPlugin* sender, QList<MivoArg>& arguments);

private:
    QStringList lines;
};

#endif
