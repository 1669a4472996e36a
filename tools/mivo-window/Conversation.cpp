#include "Conversation.h"

#include "DisplayText.h"

#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const int longestMessage = 1000000;

} // namespace

Conversation::Conversation(BackgroundHost& usedHost, const PluginInfo& plugin,
                           const MivoBuddy& shownEntry, const QString& name, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , watched(plugin)
    , other(shownEntry)
    , messages(name)
    , list(new QListView)
    , line(new QLineEdit)
{
    setObjectName("conversation");
    const QString shownName = oneLine(name);
    QLabel* const title = new QLabel(shownName);
    title->setObjectName("conversationTitle");
    title->setTextFormat(Qt::PlainText);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    QToolButton* const closer = new QToolButton;
    closer->setObjectName("closeConversation");
    closer->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    closer->setAutoRaise(true);
    closer->setToolTip(tr("Close the conversation"));
    closer->setAccessibleName(tr("Close the conversation"));
    list->setObjectName("messageList");
    list->setAccessibleName(tr("Conversation with %1").arg(shownName));
    list->setModel(&messages);
    list->setWordWrap(true);
    list->setResizeMode(QListView::Adjust);
    list->setTextElideMode(Qt::ElideNone);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    line->setObjectName("messageLine");
    line->setPlaceholderText(tr("Write to %1").arg(shownName));
    line->setAccessibleName(tr("Write to %1").arg(shownName));
    line->setMaxLength(longestMessage);

    QHBoxLayout* const top = new QHBoxLayout;
    top->addWidget(title, 1);
    top->addWidget(closer);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(top);
    layout->addWidget(list, 1);
    layout->addWidget(line);
    QShortcut* const copying = new QShortcut(QKeySequence::Copy, list);
    copying->setContext(Qt::WidgetShortcut);
    connect(copying, &QShortcut::activated, this, &Conversation::copy);
    connect(closer, &QToolButton::clicked, this, &Conversation::closed);
    connect(line, &QLineEdit::returnPressed, this, &Conversation::send);
    connect(&messages, &QAbstractItemModel::rowsInserted, this, [this] {
        const QScrollBar* const bar = list->verticalScrollBar();
        if (bar->value() == bar->maximum())
            QMetaObject::invokeMethod(list, &QListView::scrollToBottom, Qt::QueuedConnection);
    });

    host.call(watched, "openConversation", {MivoArg(other)}, this,
              [this](const CallAnswer& answer) { show(answer); });
}

void Conversation::show(const CallAnswer& answer)
{
    isOpen = true;
    if (!answer.isGiven)
        Q_EMIT failed(tr("The conversation was not opened: %1").arg(answer.error));
    bool isKnown = true;
    for (const MivoArg& message : answer.values)
        isKnown = message.getType() == MivoArg::ArgList && messages.apply(message.toArgList())
            && isKnown;
    if (!isKnown)
        Q_EMIT failed(tr("%1 answered openConversation with something else than messages.")
                          .arg(oneLine(watched.name)));
    const QList<QList<MivoArg>> events = early;
    early.clear();
    for (const QList<MivoArg>& event : events)
        take(event);
    look();
}

void Conversation::take(const QList<MivoArg>& arguments)
{
    if (!isOpen) {
        early.append(arguments);
        return;
    }
    if (!messages.apply(arguments.mid(1)))
        return; // an event that a later version of a plug-in may know
    if (arguments.at(1).toString() == "received")
        isUnseen = true;
    look();
}

/** Marks what has been seen as read. */
void Conversation::look()
{
    if (!isOpen || !isUnseen || !isVisible() || !isActiveWindow())
        return;
    isUnseen = false;
    host.call(watched, "markRead", {MivoArg(other)}, this, [this](const CallAnswer& answer) {
        if (!answer.isGiven)
            Q_EMIT failed(tr("The messages were not marked as read: %1").arg(answer.error));
    });
}

bool Conversation::event(QEvent* event)
{
    const bool isDone = QWidget::event(event);
    if (event->type() == QEvent::Show || event->type() == QEvent::WindowActivate)
        look();
    return isDone;
}

void Conversation::startTyping()
{
    line->setFocus();
}

void Conversation::send()
{
    const QString text = line->text();
    line->clear();
    if (text.trimmed().isEmpty())
        return;
    // What becomes of it is told like all that happens to messages.
    host.call(watched, "sendMessage", {MivoArg(other), MivoArg(text)}, this,
              [this, text](const CallAnswer& answer) {
                  if (!answer.isGiven)
                      messages.addUnsent(text, answer.error);
              });
}

void Conversation::copy() const
{
    QModelIndexList rows = list->selectionModel()->selectedIndexes();
    std::sort(rows.begin(), rows.end());
    QStringList texts;
    for (const QModelIndex& row : qAsConst(rows))
        texts.append(row.data(MessageModel::MessageRole).toString());
    QApplication::clipboard()->setText(texts.join('\n'));
}
