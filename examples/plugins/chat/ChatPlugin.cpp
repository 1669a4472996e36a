#include "ChatPlugin.h"

#include <MivoBuddyType.h>
#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoPresence.h>
#include <MivoService.h>
#include <MivoSubscriptionType.h>

QString ChatPlugin::name() const
{
    return QLatin1String("chat");
}

QList<MivoService> ChatPlugin::services() const
{
    return QList<MivoService>() << MivoService("send", tr("Send a text"), "chat",
                                               MivoPluginAction());
}

bool ChatPlugin::initialise(MivoHost& startedBy)
{
    host = &startedBy;
    return true;
}

void ChatPlugin::contact(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QString id = arguments.value(0).toString();
    if (!contacts.contains(id)) {
        contacts.insert(id,
                        MivoBuddyContact(nullptr, id, id.section('@', 0, 0),
                                         MivoBuddyType("chat", tr("Chat")), MivoPresence(),
                                         MivoSubscriptionType("", "", 0, "")));
    }
    arguments = QList<MivoArg>() << MivoArg(contacts.value(id));
}

void ChatPlugin::sendText(QList<MivoArg>& arguments)
{
    // Exact kinds: anything but a Buddy and a String ends here with an exception.
    const MivoBuddy buddy = arguments.value(0).toBuddy();
    const QString text = arguments.value(1).toString();
    MivoHostLog::write(
        QString("chat reads the buddy \"%1\" with toBuddy() and the text \"%2\" with toString()")
            .arg(buddy.getDisplay(), text));

    const QList<MivoArg> number = host->call(host->findPlugin("history"), "append",
                                             QList<MivoArg>() << buddy << text, this);
    const QString answer
        = QString("sent to %1 as number %2").arg(buddy.getDisplay()).arg(number.first().toInt());
    host->call(host->findPlugin("console"), "show", QList<MivoArg>() << MivoArg(answer), this);
}
