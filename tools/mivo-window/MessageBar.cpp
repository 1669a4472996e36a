#include "MessageBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QToolButton>

namespace {

const int mostMessages = 3;

} // namespace

MessageBar::MessageBar(QWidget* parent)
    : QFrame(parent)
    , label(new QLabel)
{
    setObjectName("messages");
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);

    QLabel* const icon = new QLabel;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::ToolTipText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QToolButton* const closer = new QToolButton;
    closer->setObjectName("closeMessages");
    closer->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    closer->setAutoRaise(true);
    closer->setToolTip(tr("Close (Esc)"));
    closer->setAccessibleName(tr("Close the message"));
    closer->setShortcut(Qt::Key_Escape);
    connect(closer, &QToolButton::clicked, this, &MessageBar::clear);

    QHBoxLayout* const layout = new QHBoxLayout(this);
    layout->addWidget(icon);
    layout->addWidget(label, 1);
    layout->addWidget(closer);
    hide();
}

QString MessageBar::text() const
{
    return messages.join('\n');
}

void MessageBar::add(const QString& message)
{
    messages.append(message);
    while (messages.size() > mostMessages)
        messages.removeFirst();
    label->setText(text());
    show();
}

void MessageBar::clear()
{
    messages.clear();
    hide();
}
