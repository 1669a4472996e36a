#ifndef CONTACTLIST_H
#define CONTACTLIST_H

#include "ServerExport.h"

#include <MivoBuddyGroup.h>

#include <functional>

class MivoAccountConnection;

/** The contact list of all users of a server export, and what of the export it could not show. */
struct ContactList
{
    QList<MivoBuddyGroup> groups; ///< in the order of their names
    QList<Report> reports; ///< in the order of the file
};

/**
 * Makes a contact list. The contacts of each user belong to the account that @p accountOf answers
 * for the user's jid, and to the contact type of the user's host; what several users have under one
 * jid becomes one merged contact. A contact is in the first of its groups, and those who have
 * written without being on the user's roster are temporary contacts in a group of their own, which is
 * none of the user's groups, be they of the same name.
 * Nobody is online: an export does not tell.
 */
ContactList makeContactList(const ServerExport& data,
                            const std::function<MivoAccountConnection*(const QString&)>& accountOf);

#endif
