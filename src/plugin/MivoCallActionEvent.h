#ifndef MIVOCALLACTIONEVENT_H
#define MIVOCALLACTIONEVENT_H

#include "MivoPluginAction.h"

#include <QEvent>

class QObject;

/**
 * The posted form of a plug-in action, which the host's dispatcher serves: in its event handler it
 * calls `member` on `plugin` with `arguments`. Qt owns the event from the moment it is posted and
 * deletes it after delivery; the handler must not. The plug-in is only pointed to.
 */
class MIVO_DATA_EXPORT MivoCallActionEvent : public QEvent
{
public:
    static constexpr QEvent::Type EventType = QEvent::Type(QEvent::User + 9); ///< 1009

    MivoCallActionEvent(MivoPlugin* plugin, MivoPluginAction::Member member,
                        const QList<MivoArg>& arguments);
    ~MivoCallActionEvent() override;

    MivoPlugin* plugin;
    MivoPluginAction::Member member;
    QList<MivoArg> arguments;

    /**
     * The receiver of every action event; not owned. The host sets it before any thread that runs
     * actions starts, since nothing guards it; the library only reads it. While it is null, actions
     * are lost without a call, and Qt warns of each.
     */
    static QObject* dispatcher;

private:
    Q_DISABLE_COPY(MivoCallActionEvent)
};

#endif
