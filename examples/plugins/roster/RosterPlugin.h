#ifndef ROSTERPLUGIN_H
#define ROSTERPLUGIN_H

#include "ContactList.h"

#include <MivoPlugin.h>

#include <QHash>

/** A plug-in that offers the contact list which it reads from a server export (XEP-0227). */
class RosterPlugin : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    ~RosterPlugin() override;

    QString name() const override;
    QString version() const override;

public Q_SLOTS:
    /**
     * Reads the export in the file that its argument, a String, names, and answers the groups of
     * the contact list, a Buddy each. The list is the plug-in's: the next call that answers another
     * clears its groups, and so does the plug-in's end. Throws when the file is no export.
     */
    void roster(MivoPlugin* sender, QList<MivoArg>& arguments);
    /**
     * Answers the StringList of what was skipped in the file that roster() has read: the file, line
     * and column, what was found, what was expected and what became of it, in words that quote
     * nothing of the file.
     */
    void reports(MivoPlugin* sender, QList<MivoArg>& arguments);

private:
    void clearGroups();
    MivoAccountConnection* account(const QString& id);

    QHash<QString, MivoAccountConnection*> accounts; // children of the plug-in, which they end with
    QList<MivoBuddyGroup> groups;
    QStringList reportTexts;
};

#endif
