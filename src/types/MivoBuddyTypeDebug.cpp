#include "MivoBuddyType.h"
#include "MivoDebug_p.h"

QDebug operator<<(QDebug dbg, MivoBuddyType* type)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << static_cast<const void*>(type) << " MivoBuddyType(";
    mivoWriteQuoted(dbg, type->getId());
    dbg << ", ";
    mivoWriteQuoted(dbg, type->getDisplay());
    dbg << ")";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const QList<MivoBuddyType*>& types)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "QList<MivoBuddyType *> ("
                  << "\n";
    // An element leaves the stream in space mode, so that only the first tab has no blank after it.
    for (int i = 0; i < types.size(); ++i)
        dbg << "\t" << types.at(i) << "\n";
    dbg.nospace() << ") element count: ";
    dbg.space() << static_cast<int>(types.size()) << "\n";
    return dbg;
}
