#include "RosterPlugin.h"

#include <MivoAccountConnection.h>

#include <stdexcept>

RosterPlugin::~RosterPlugin()
{
    clearGroups();
}

QString RosterPlugin::name() const
{
    return QLatin1String("roster");
}

QString RosterPlugin::version() const
{
    return QLatin1String(MIVO_VERSION_STR);
}

void RosterPlugin::roster(MivoPlugin*, QList<MivoArg>& arguments)
{
    if (arguments.isEmpty())
        throw std::invalid_argument("found no argument; expected the file name of a server export");
    const QString fileName = arguments.first().toString();
    const ContactList list = makeContactList(readServerExport(fileName),
                                             [this](const QString& id) { return account(id); });

    clearGroups();
    groups = list.groups;
    reportTexts.clear();
    for (const Report& report : list.reports)
        reportTexts.append(QString("%1: line %2, column %3: %4")
                               .arg(fileName, QString::number(report.position.line),
                                    QString::number(report.position.column), report.text));

    arguments.clear();
    for (const MivoBuddyGroup& group : qAsConst(groups))
        arguments.append(MivoArg(group));
}

void RosterPlugin::reports(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(reportTexts);
}

void RosterPlugin::clearGroups()
{
    // A group and its members keep each other alive.
    for (MivoBuddyGroup& group : groups)
        group.clear();
}

MivoAccountConnection* RosterPlugin::account(const QString& id)
{
    MivoAccountConnection*& account = accounts[id];
    if (!account)
        account = new MivoAccountConnection(id, id, this);
    return account;
}
