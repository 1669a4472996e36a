#ifndef MIVOBUDDYRESOURCETYPE_H
#define MIVOBUDDYRESOURCETYPE_H

#include "MivoGlobal.h"

#include <QString>

/**
 * The kind of client that a resource is: a desk-top program or a telephone, for instance.
 *
 * Owned by whoever makes it, the protocol plug-in as a rule, and to be kept for as long as a
 * resource points at it. Resources read it in any thread: it must not be changed meanwhile.
 */
struct MIVO_DATA_EXPORT MivoBuddyResourceType
{
    MivoBuddyResourceType(const QString& name, const QString& icon);

    QString name;
    QString icon; ///< name or path of the icon
};

#endif
