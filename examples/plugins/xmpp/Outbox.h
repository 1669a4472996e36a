#ifndef OUTBOX_H
#define OUTBOX_H

#include <QList>
#include <QStringList>

/** A message of the user. */
struct Letter
{
    QString id;
    QString to;
    QString text;
};

/**
 * The messages of an account that the server is not known to have taken, in their order. One that was
 * on its way when the connection was lost is sent again, under the same identity. When it was the
 * server that ended the stream because of what was sent, letters go one at a time, so that it is known
 * which one the server does not bear: that one is given up.
 */
class Outbox
{
public:
    void add(const Letter& letter);
    /** What is to be sent now; it counts as sent. */
    QList<Letter> takeSendable();
    /** How many have been sent and not been confirmed. */
    int unconfirmed() const { return sent; }
    bool isEmpty() const { return letters.isEmpty(); }
    /** The server has taken the first @p count of those that were sent. Returns them. */
    QStringList confirm(int count);
    /**
     * The connection is lost; @p isObjection tells whether the server has objected to what was
     * sent. Returns the letters that are given up.
     */
    QList<Letter> noteLoss(bool isObjection);
    /** All that is left, which is then forgotten. */
    QList<Letter> takeAll();

private:
    QList<Letter> letters;
    int sent = 0; // of them, from the first on
    int careful = 0; // how many of the first go one at a time
};

#endif
