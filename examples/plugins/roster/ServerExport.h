#ifndef SERVEREXPORT_H
#define SERVEREXPORT_H

#include "Jid.h"

#include <QList>
#include <QStringList>

/** A place in a file; both are counted from 1. */
struct Position
{
    qint64 line;
    qint64 column;
};

/**
 * What was found at a place of a file, and what becomes of it. The text holds nothing of the file's
 * own, which has passwords in it.
 */
struct Report
{
    Position position;
    QString text;
};

/** An entry of a user's roster. */
struct RosterItem
{
    Position position;
    Jid jid;
    QString name; ///< empty when the user has given none
    QString subscription; ///< "none", "to", "from" or "both"
    bool isAsked; ///< whether the contact has not yet answered the user's request
    QStringList groups; ///< no empty ones, none twice
};

/** One who has written to a user, or asked to see the user's presence, while that was away. */
struct Sender
{
    Jid jid; ///< without resource
    int messages;
};

/** A user of a server. */
struct ExportedUser
{
    Jid jid;
    QString host;
    QList<RosterItem> items; ///< each jid once
    QList<Sender> senders; ///< each jid once
};

/** What a file in the portable export format of XMPP servers (XEP-0227) says of contact lists. */
struct ServerExport
{
    QList<ExportedUser> users;
    QList<Report> reports; ///< of all that was skipped, in the order of the file
};

/**
 * Reads a server export. What is broken in it or has nothing to do with contact lists is skipped
 * and reported; a file that is no such export is refused with a std::runtime_error that names the
 * file, the line and column up to which it was read, what was found and what was expected.
 */
ServerExport readServerExport(const QString& fileName);

#endif
