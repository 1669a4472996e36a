#ifndef MIVOPRESENCEICON_P_H
#define MIVOPRESENCEICON_P_H

#include <QHash>
#include <QIcon>

struct MivoShownPresence;

/** The icons of presences, each made once. For the thread of the user interface. */
class MivoPresenceIcons
{
public:
    /**
     * The first of the presence's icons that the theme knows or that is a file; else a mark drawn
     * from its flag: a disc in a colour of its own, a ring for Offline. Null without a presence.
     */
    QIcon icon(const MivoShownPresence& presence);

private:
    QHash<QString, QIcon> named;
    QHash<int, QIcon> drawn;
};

#endif
