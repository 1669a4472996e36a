#ifndef MIVOPRESENCETYPE_H
#define MIVOPRESENCETYPE_H

#include "MivoPresence.h"

#include <QString>

/**
 * One status that the contacts of a contact type can show.
 *
 * Made by the plug-in that defines the contact type and, once it stands in
 * MivoBuddyTypePrivate::presences, owned by that contact type. Presences point at it, in
 * any thread, so that it must not be changed once it is in use.
 */
struct MivoPresenceType
{
    QString display; ///< the text shown to the user
    QString id; ///< the stable identifier
    QString icon; ///< name or path of the icon
    quint32 priority = 0; ///< the ordering weight
    MivoPresence::Flag flag = MivoPresence::NoFlag; ///< the class of the status
};

#endif
