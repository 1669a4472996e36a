#include "MessageModel.h"

#include "DisplayText.h"
#include "ToolTip.h"

#include <QLocale>
#include <QStringList>

namespace {

const int longestShown = 20000; // of a message's text, in a row

/** On lines of their own where the writer has ended them; otherwise fit to be shown. */
QString shownText(const QString& text)
{
    QStringList lines = text.left(longestShown).split('\n');
    for (QString& line : lines)
        line = oneLine(line);
    return lines.join('\n') + (text.size() > longestShown ? QString(" …") : QString());
}

QString timeText(const QDateTime& time)
{
    const QLocale locale;
    if (time.date() == QDate::currentDate())
        return locale.toString(time.time(), QLocale::ShortFormat);
    return locale.toString(time, QLocale::ShortFormat);
}

/** -1 for an event of another name. */
int stateOf(const QString& event)
{
    static const QStringList names = {"queued", "taken", "failed", "received", "asks"};
    return int(names.indexOf(event));
}

} // namespace

MessageModel::MessageModel(const QString& otherName, QObject* parent)
    : QAbstractListModel(parent)
    , other(oneLine(otherName))
{
}

bool MessageModel::apply(const QList<MivoArg>& event)
{
    const QList<MivoArg::Type> kinds = {MivoArg::String, MivoArg::String, MivoArg::String,
                                        MivoArg::Int64,  MivoArg::String, MivoArg::String};
    for (int i = 0; i < kinds.size(); ++i) {
        if (event.value(i).getType() != kinds.at(i))
            return false;
    }
    const int state = stateOf(event.at(0).toString());
    if (state < 0)
        return false;
    const Message message
        = {event.at(2).toString(), QDateTime::fromMSecsSinceEpoch(event.at(3).toInt64()),
           event.at(4).toString(), event.at(5).toString(), State(state)};
    const QString id = event.at(1).toString();
    const auto known = rows.constFind(id);
    if (known == rows.constEnd()) {
        rows.insert(id, int(messages.size()));
        append(message);
        return true;
    }
    // What is told late may be older than what is shown.
    Message& shown = messages[std::size_t(*known)];
    if (message.state > shown.state) {
        shown = message;
        Q_EMIT dataChanged(index(*known), index(*known));
    }
    return true;
}

void MessageModel::addUnsent(const QString& text, const QString& reason)
{
    append({text, QDateTime::currentDateTime(), QString(), reason, Failed});
}

void MessageModel::append(const Message& message)
{
    const int row = int(messages.size());
    beginInsertRows(QModelIndex(), row, row);
    messages.push_back(message);
    endInsertRows();
}

int MessageModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(messages.size());
}

QString MessageModel::lineOf(const Message& message) const
{
    const QString time = timeText(message.time);
    const QString text = shownText(message.text);
    switch (message.state) {
    case Queued:
        return tr("%1  I: %2  (on its way)").arg(time, text);
    case Taken:
        return tr("%1  I: %2").arg(time, text);
    case Failed:
        return tr("%1  I: %2  (not delivered: %3)").arg(time, text, oneLine(message.reason));
    case Received:
        return tr("%1  %2: %3").arg(time, other, text);
    case Asked:
        return tr("%1  %2 asks to see your presence. %3").arg(time, other, text);
    }
    return QString();
}

QVariant MessageModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const Message& message = messages[std::size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return lineOf(message);
    case Qt::ToolTipRole:
        return toolTipText(oneLine(
            tr("%1, %2").arg(message.from, QLocale().toString(message.time, QLocale::LongFormat))));
    case MessageRole:
        return message.text;
    case StateRole:
        return int(message.state);
    default:
        return QVariant();
    }
}
