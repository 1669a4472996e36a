#include "MessageWatcher.h"

MessageWatcher::MessageWatcher(const std::function<void(const QList<MivoArg>&)>& tellEvent)
    : tell(tellEvent)
{
}

QString MessageWatcher::name() const
{
    return "mivo-window";
}

QString MessageWatcher::slotName()
{
    return "messageEvent";
}

bool MessageWatcher::canWatch(const QStringList& calls)
{
    for (const char* const needed :
         {"sendMessage", "openConversation", "watchMessages", "markRead"}) {
        if (!calls.contains(needed))
            return false;
    }
    return true;
}

void MessageWatcher::messageEvent(QList<MivoArg>& arguments)
{
    tell(arguments);
}
