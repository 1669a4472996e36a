#ifndef MESSAGEMODEL_H
#define MESSAGEMODEL_H

#include <MivoArg.h>

#include <QAbstractListModel>
#include <QDateTime>
#include <QHash>

#include <vector>

/** The messages of a conversation, in the order in which they have come or been sent. */
class MessageModel : public QAbstractListModel
{
    Q_OBJECT

public:
    /** What data() answers besides a row's text: the text of the message alone, and its state. */
    enum Role { MessageRole = Qt::UserRole, StateRole };
    /** How far a message is; it never goes back to one that stands before. */
    enum State { Queued, Taken, Failed, Received, Asked };

    /** @p otherName is what received messages stand under. */
    explicit MessageModel(const QString& otherName, QObject* parent = nullptr);

    /**
     * Takes what has happened to a message, as the arguments 1 to 6 that watching slots are given;
     * false when it is something else.
     */
    bool apply(const QList<MivoArg>& event);
    /** A message that has never become one. */
    void addUnsent(const QString& text, const QString& reason);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    struct Message
    {
        QString text;
        QDateTime time;
        QString from;
        QString reason;
        State state;
    };
    QString lineOf(const Message& message) const;
    void append(const Message& message);

    const QString other;
    std::vector<Message> messages;
    QHash<QString, int> rows; ///< by the messages' identities
};

#endif
