#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyTemporary.h"
#include "MivoDebug_p.h"

namespace {

const char* nameOf(MivoBuddy::Type type)
{
    switch (type) {
    case MivoBuddy::Invalid:
        return "Invalid";
    case MivoBuddy::Group:
        return "Group";
    case MivoBuddy::Meta:
        return "Meta";
    case MivoBuddy::Contact:
        return "Contact";
    case MivoBuddy::Merged:
        return "Merged";
    case MivoBuddy::Temporary:
        return "Temporary";
    case MivoBuddy::Other:
        return "Other";
    }
    return "";
}

void writeText(QDebug& dbg, const char* label, const QString& text)
{
    dbg << label;
    mivoWriteQuoted(dbg, text);
}

template <class Container>
QDebug writeContainer(QDebug dbg, const char* className, const Container& container)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << className << "(\n\tvalid       :" << container.isValid();
    writeText(dbg, "\n\tdisplay     :", container.getDisplay());
    dbg << "\n\tchild count :" << container.childCount();
    dbg << "\n\texpanded    :" << container.isExpanded() << "\n)";
    return dbg.space();
}

/** The lines that all kinds of contact have; the line feed of the last one is left out. */
template <class Contact>
void writeContact(QDebug& dbg, const char* className, const Contact& contact)
{
    dbg.nospace() << className << "(\n\tvalid   :" << contact.isValid();
    writeText(dbg, "\n\tdisplay :", contact.getDisplay());
    writeText(dbg, "\n\tid      :", contact.getId());
}

} // namespace

QDebug operator<<(QDebug dbg, MivoBuddy::Type type)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "MivoBuddy::" << nameOf(type);
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const MivoBuddyGroup& group)
{
    return writeContainer(dbg, "MivoBuddyGroup", group);
}

QDebug operator<<(QDebug dbg, const MivoBuddyMeta& meta)
{
    return writeContainer(dbg, "MivoBuddyMeta", meta);
}

QDebug operator<<(QDebug dbg, const MivoBuddyContact& contact)
{
    const MivoPlainText plain(dbg);
    writeContact(dbg, "MivoBuddyContact", contact);
    dbg << "\n)";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const MivoBuddyMerged& merged)
{
    const MivoPlainText plain(dbg);
    writeContact(dbg, "MivoBuddyMerged", merged);
    dbg << "\n)";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const MivoBuddyTemporary& temporary)
{
    const MivoPlainText plain(dbg);
    writeContact(dbg, "MivoBuddyTemporary", temporary);
    dbg << "\n\taccount :" << static_cast<const void*>(temporary.getAccount()) << "\n)";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const MivoBuddy& buddy)
{
    const MivoPlainText plain(dbg);
    // What a kind's printer writes ends with a blank of its own, on purpose beside the one here.
    switch (buddy.getType()) {
    case MivoBuddy::Group:
        dbg.nospace() << MivoBuddyGroup(buddy);
        break;
    case MivoBuddy::Meta:
        dbg.nospace() << MivoBuddyMeta(buddy);
        break;
    case MivoBuddy::Contact:
        dbg.nospace() << MivoBuddyContact(buddy);
        break;
    case MivoBuddy::Merged:
        dbg.nospace() << MivoBuddyMerged(buddy);
        break;
    case MivoBuddy::Temporary:
        dbg.nospace() << MivoBuddyTemporary(buddy);
        break;
    case MivoBuddy::Invalid:
        dbg.nospace() << "MivoBuddy( Invalid )";
        break;
    case MivoBuddy::Other:
        dbg.nospace();
        writeText(dbg, "MivoBuddy(\n\ttype   : Other\n\tdisplay:", buddy.getDisplay());
        dbg << "\n)";
        break;
    default:
        break;
    }
    return dbg.space();
}
