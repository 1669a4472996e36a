// Reads any bytes as the export of a server and makes the contact list of it. Whatever stands there, it is
// refused with a reason or read, and what is read keeps what its structures promise.
#include "FuzzFile.h"

#include "ContactList.h"

#include <QSet>

#include <memory>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const FuzzFile file(data, size);
    std::unique_ptr<ServerExport> read;
    requireFewAllocations(size, 500, 10, [&] {
        try {
            read.reset(new ServerExport(readServerExport(file.name())));
        } catch (const std::runtime_error& error) {
            require(*error.what(), "a refusal has a reason");
        }
    });
    if (!read)
        return 0;
    for (const Report& report : std::as_const(read->reports)) {
        require(report.position.line >= 1 && report.position.column >= 1, "a report has a place");
        require(!report.text.isEmpty(), "a report says something");
    }
    for (const ExportedUser& user : std::as_const(read->users)) {
        for (const RosterItem& item : user.items) {
            QSet<QString> groups;
            for (const QString& group : item.groups) {
                require(!group.isEmpty() && !groups.contains(group), "groups are named, each once");
                groups.insert(group);
            }
            require(QStringList({"none", "to", "from", "both"}).contains(item.subscription),
                    "a subscription is one of four");
        }
        for (const Sender& sender : user.senders)
            require(sender.messages >= 0, "nobody has written fewer than no messages");
    }
    ContactList list
        = makeContactList(*read, [](const QString&) -> MivoAccountConnection* { return nullptr; });
    for (MivoBuddyGroup& group : list.groups) {
        require(group.childCount() > 0, "a group has members");
        group.clear();
    }
    return 0;
}
