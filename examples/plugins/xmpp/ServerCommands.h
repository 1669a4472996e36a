#ifndef SERVERCOMMANDS_H
#define SERVERCOMMANDS_H

#include "DataForm.h"

#include <MivoXmlNode.h>

#include <QObject>
#include <QStringList>

class Account;

/**
 * The commands that the server of an account offers (XEP-0050), one of which may be under way: its
 * forms come and go until it is done. It lives in the plug-in's thread.
 */
class ServerCommands : public QObject
{
    Q_OBJECT

public:
    /** Belongs to the account. */
    explicit ServerCommands(Account* account);

    /** Asks the server which commands there are. */
    void refresh();
    /** The account has no connection any more. */
    void clear();

    /** What commands are called, in the server's order. */
    QStringList names() const;
    /** Begins a command; what was under way is given up. Throws when there is no such command. */
    void run(int index);
    /**
     * Goes on with the command under way: @p action is "next", "prev", "complete" or "cancel". Throws
     * a std::runtime_error with one sentence when that cannot be done.
     */
    void proceed(const QString& action);

    /** Whether a command waits for the user. */
    bool isAsking() const { return !session.isEmpty(); }
    /** What can be done with it: actions for proceed(). */
    QStringList actions() const { return allowed; }
    /** What the server has said last: one sentence. */
    QString note() const { return said; }
    /** The form that is to be filled in, or the result that is to be read. */
    DataForm& form() { return shown; }
    const DataForm& form() const { return shown; }

Q_SIGNALS:
    void changed();

private:
    struct Offer
    {
        QString address;
        QString node;
        QString name;
    };

    void send(const QString& action);
    void take(const MivoXmlNode& answer);

    Account* const account;
    QList<Offer> offers;
    Offer current;
    QString session; // the server's name of what is under way; empty when nothing is
    QStringList allowed;
    QString said;
    DataForm shown;
    int turn = 0; // answers to former questions are not taken
};

#endif
