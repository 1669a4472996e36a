#ifndef CHATPLUGIN_H
#define CHATPLUGIN_H

#include <MivoBuddyContact.h>
#include <MivoPlugin.h>

/**
 * A protocol plug-in without a network: it knows one contact of every id, and what is sent to one
 * goes into the history.
 */
class ChatPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    QString name() const override;
    QList<MivoService> services() const override;
    bool initialise(MivoHost& host) override;

public Q_SLOTS:
    /** Takes a String, the id of a contact; answers the Buddy. */
    void contact(MivoPlugin* sender, QList<MivoArg>& arguments);

    /**
     * An action: sends a String, the second argument, to a Buddy, the first, and tells the plug-in
     * "console" how it went.
     */
    void sendText(QList<MivoArg>& arguments);

private:
    MivoHost* host = nullptr;
    QHash<QString, MivoBuddyContact> contacts; // in the plug-in's own thread only
};

#endif
