#ifndef MESSAGEWATCHER_H
#define MESSAGEWATCHER_H

#include <MivoPlugin.h>

#include <functional>

/** Stands for the window in the host: a plug-in tells it of messages (docs/xmpp.md). */
class MessageWatcher : public MivoPlugin
{
    Q_OBJECT

public:
    /** @p tellEvent is called in the dispatcher's thread. */
    explicit MessageWatcher(const std::function<void(const QList<MivoArg>&)>& tellEvent);

    QString name() const override;

    /** The slot below. */
    static QString slotName();
    /** Whether a plug-in with these calls has conversations. */
    static bool canWatch(const QStringList& calls);

public Q_SLOTS:
    /** An action: something has happened to a message. */
    void messageEvent(QList<MivoArg>& arguments);

private:
    const std::function<void(const QList<MivoArg>&)> tell;
};

#endif
