#include "HistoryPlugin.h"

#include <MivoBuddyContact.h>
#include <MivoHostLog.h>

QString HistoryPlugin::name() const
{
    return QLatin1String("history");
}

void HistoryPlugin::append(MivoPlugin* sender, QList<MivoArg>& arguments)
{
    const MivoBuddyContact contact(arguments.value(0).toBuddy());
    lines.append(contact.getId() + QLatin1String(": ") + arguments.value(1).toString());
    MivoHostLog::write(
        QString("%1 has handed over a line for the history: %2").arg(sender->name(), lines.last()));
    count(sender, arguments);
}

void HistoryPlugin::count(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(static_cast<int>(lines.size()));
}
