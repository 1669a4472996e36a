#ifndef SEENMESSAGES_H
#define SEENMESSAGES_H

#include <QQueue>
#include <QSet>
#include <QString>

/**
 * The identities of the messages that came last. After a reconnection a server may send again what
 * has come already. Some clients use an identity for several messages: only one of the same sender,
 * identity and text is the same message. One without an identity is never known.
 */
class SeenMessages
{
public:
    static const int Kept = 20000;

    /** Whether the message has been noted before; notes it. */
    bool note(const QString& sender, const QString& id, const QString& text);

private:
    QSet<QByteArray> known;
    QQueue<QByteArray> order;
};

#endif
