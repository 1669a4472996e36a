#include "MivoDebug_p.h"
#include "MivoPresence.h"

QDebug operator<<(QDebug dbg, const MivoPresence& presence)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "MivoPresence(";
    if (presence.isValid()) {
        dbg << "\n\tid       : ";
        mivoWriteQuoted(dbg, presence.getId());
        dbg << "\n\tdisplay  : ";
        mivoWriteQuoted(dbg, presence.getDisplay());
        dbg << "\n\tpriority : " << presence.getPriority() << "\n";
    } else {
        dbg << " invalid ";
    }
    dbg << ")";
    return dbg.space();
}
