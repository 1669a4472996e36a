#ifndef CONVERSATION_H
#define CONVERSATION_H

#include "BackgroundHost.h"
#include "MessageModel.h"

#include <QWidget>

class QLineEdit;
class QListView;

/**
 * What is said to an entry of a contact list and by it, and a line for what is to be said next.
 * Messages are marked as read once they have been seen: shown in the window that is used.
 */
class Conversation : public QWidget
{
    Q_OBJECT

public:
    Conversation(BackgroundHost& host, const PluginInfo& plugin, const MivoBuddy& entry,
                 const QString& name, QWidget* parent = nullptr);

    const MivoPlugin* plugin() const { return watched.plugin; }
    MivoBuddy entry() const { return other; }

    /** Takes what a watching slot has been given. */
    void take(const QList<MivoArg>& arguments);

public Q_SLOTS:
    void startTyping();
    void send();

Q_SIGNALS:
    void failed(const QString& message);
    void closed();

protected:
    bool event(QEvent* event) override;

private:
    void show(const CallAnswer& answer);
    void look();
    void copy() const;

    BackgroundHost& host;
    const PluginInfo watched;
    const MivoBuddy other;
    MessageModel messages;
    QList<QList<MivoArg>> early; ///< what has happened before the messages so far have come
    bool isOpen = false;
    bool isUnseen = true;
    QListView* const list;
    QLineEdit* const line;
};

#endif
