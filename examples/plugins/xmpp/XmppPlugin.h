#ifndef XMPPPLUGIN_H
#define XMPPPLUGIN_H

#include "Account.h"

#include <MivoPlugin.h>
#include <MivoPluginAction.h>

#include <memory>
#include <vector>

class ServerCommands;

/**
 * A plug-in that connects accounts to XMPP servers. What its calls and actions take and answer stands
 * in docs/xmpp.md, word for word what is not repeated here. Everything happens in the plug-in's own
 * thread: an action only hands its arguments over to it.
 */
class XmppPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    XmppPlugin();
    ~XmppPlugin() override;

    QString name() const override;
    QString version() const override;
    bool initialise(MivoHost& host) override;
    void shutdown() override;
    /** The settings of each account, and the forms of its server. */
    QList<MivoField> fields() const override;
    QString applyFields(const QList<MivoField>& fields) override;

public Q_SLOTS:
    void accounts(MivoPlugin* sender, QList<MivoArg>& arguments);
    void roster(MivoPlugin* sender, QList<MivoArg>& arguments);
    void contacts(MivoPlugin* sender, QList<MivoArg>& arguments);
    void openConversation(MivoPlugin* sender, QList<MivoArg>& arguments);
    void watchMessages(MivoPlugin* sender, QList<MivoArg>& arguments);
    void unwatchMessages(MivoPlugin* sender, QList<MivoArg>& arguments);

    void sendMessage(MivoPlugin* sender, QList<MivoArg>& arguments);
    void markRead(MivoPlugin* sender, QList<MivoArg>& arguments);
    void connectAccount(MivoPlugin* sender, QList<MivoArg>& arguments);
    void disconnectAccount(MivoPlugin* sender, QList<MivoArg>& arguments);
    void setPresence(MivoPlugin* sender, QList<MivoArg>& arguments);
    void setPicture(MivoPlugin* sender, QList<MivoArg>& arguments);
    void addContact(MivoPlugin* sender, QList<MivoArg>& arguments);
    void renameContact(MivoPlugin* sender, QList<MivoArg>& arguments);
    void moveContact(MivoPlugin* sender, QList<MivoArg>& arguments);
    void removeContact(MivoPlugin* sender, QList<MivoArg>& arguments);
    void askSubscription(MivoPlugin* sender, QList<MivoArg>& arguments);
    void answerSubscription(MivoPlugin* sender, QList<MivoArg>& arguments);
    void runCommand(MivoPlugin* sender, QList<MivoArg>& arguments);
    void proceedCommand(MivoPlugin* sender, QList<MivoArg>& arguments);

    // The same as actions.

    void sendMessage(QList<MivoArg>& arguments);
    void markRead(QList<MivoArg>& arguments);
    void connectAccount(QList<MivoArg>& arguments);
    void disconnectAccount(QList<MivoArg>& arguments);
    void setPresence(QList<MivoArg>& arguments);
    void setPicture(QList<MivoArg>& arguments);
    void addContact(QList<MivoArg>& arguments);
    void renameContact(QList<MivoArg>& arguments);
    void moveContact(QList<MivoArg>& arguments);
    void removeContact(QList<MivoArg>& arguments);
    void askSubscription(QList<MivoArg>& arguments);
    void answerSubscription(QList<MivoArg>& arguments);
    void runCommand(QList<MivoArg>& arguments);
    void proceedCommand(QList<MivoArg>& arguments);

private:
    typedef void (XmppPlugin::*Call)(MivoPlugin*, QList<MivoArg>&);
    /** An account and an address to talk to. */
    struct Target
    {
        Account* account;
        Jid address;
    };
    /** A place for an account in the form. */
    struct Place
    {
        AccountSettings settings;
        std::unique_ptr<Account> account; // null as long as there is no address
        ServerCommands* commands = nullptr; // belongs to the account
        int chosenCommand = 0;
        QHash<QString, MivoPluginAction> buttons; // by the ids of their fields
    };

    void inPluginThread(const char* name, Call call, const QList<MivoArg>& arguments);
    void openAccount(Place& place);
    void closeAccount(Place& place);
    void addAccountFields(QList<MivoField>& form, const Place& place, int number) const;
    void addCommandFields(QList<MivoField>& form, const Place& place, int number) const;
    Place& placeOf(const MivoArg& account);
    QList<Account*> accountsOf(const MivoArg& account) const;
    Target targetOf(const MivoArg& entry) const;
    const RosterItem& itemOf(const Target& target) const;
    void tell(const Message& message);

    MivoHost* host = nullptr;
    std::unique_ptr<Contacts> list;
    std::vector<Place> places;
    QHash<MivoPlugin*, QString> watchers; // the action slot of each
};

#endif
