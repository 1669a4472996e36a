#include "ServerExport.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QUrl>
#include <QXmlStreamReader>

#include <stdexcept>

namespace {

const char exportNamespace[] = "urn:xmpp:pie:0";
const char rosterNamespace[] = "jabber:iq:roster";
const char stanzaNamespace[] = "jabber:client";
const char includeNamespace[] = "http://www.w3.org/2001/XInclude";

const char expectedRoot[] = "the element \"server-data\" of the namespace \"urn:xmpp:pie:0\"";
const char expectedJid[] = "an address such as romeo@example.org";

/**
 * The address that an include leads to, without what stands in it for user, password and query; an
 * empty text when it is not clear what these are.
 */
QString placeOf(const QString& href)
{
    const QUrl url(href, QUrl::StrictMode);
    const QString place
        = url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    const bool isClear
        = url.isValid() && !place.contains('@') && !place.contains("%40", Qt::CaseInsensitive);
    return isClear ? place : QString();
}

/** Reads one file from top to bottom; each function is entered and left as its element is. */
class ExportReader
{
public:
    explicit ExportReader(QFile& opened)
        : file(opened)
        , xml(&opened)
    {
    }

    ServerExport read()
    {
        while (!xml.isStartElement()) {
            xml.readNext();
            if (xml.hasError())
                refuseMalformed();
            // It could define entities that grow without bounds, and XMPP knows none.
            if (xml.isDTD())
                refuse("a document type declaration");
        }
        if (!isElement("server-data", exportNamespace))
            refuse("another root element");

        while (nextChild()) {
            if (isElement("host", exportNamespace))
                readHost();
            else
                skip("a host");
        }
        while (!xml.atEnd())
            xml.readNext();
        if (xml.hasError())
            refuseMalformed();
        return result;
    }

private:
    void readHost()
    {
        const QString host = attribute("jid");
        const Jid jid(host);
        if (!jid.isValid() || jid.text().contains('@') || jid.text().contains('/')) {
            skipReported(found("a host", "jid"), "one with a domain such as example.org");
            return;
        }
        while (nextChild()) {
            if (isElement("user", exportNamespace))
                readUser(host);
            else
                skip("a user");
        }
    }

    void readUser(const QString& host)
    {
        const Jid jid(attribute("name") + '@' + host);
        if (!jid.isValid() || jid.text() != jid.bare()) {
            skipReported(found("a user", "name"), "one with a name such as romeo");
            return;
        }
        const int index = indexOfUser(jid, host);
        while (nextChild()) {
            if (isElement("query", rosterNamespace))
                readRoster(index);
            else if (isElement("offline-messages", exportNamespace))
                readMessages(index);
            else if (!isStanza("presence"))
                skip("a roster, offline messages or a presence");
            else if (attribute("type") == "subscribe")
                readSender(index, "a presence", 0);
            else
                skipReported("a presence of another type", "one that asks to subscribe");
        }
    }

    void readRoster(int user)
    {
        while (nextChild()) {
            if (isElement("item", rosterNamespace))
                readItem(user);
            else
                skip("an item");
        }
    }

    void readMessages(int user)
    {
        while (nextChild()) {
            if (isStanza("message"))
                readSender(user, "a message", 1);
            else
                skip("a message");
        }
    }

    void readItem(int user)
    {
        const Jid jid(attribute("jid"));
        const QString written = attribute("subscription");
        const QString subscription = written.isEmpty() ? QString("none") : written;
        const QString ask = attribute("ask");
        const qint64 firstLine = lines.at(user).value(jid.key(), 0);

        if (!jid.isValid()) {
            skipReported(found("an item", "jid"), QString("one with ") + expectedJid);
        } else if (!QStringList({"none", "to", "from", "both"}).contains(subscription)) {
            skipReported(found("an item", "subscription"),
                         "one with the subscription none, to, from or both");
        } else if (!ask.isEmpty() && ask != "subscribe") {
            skipReported(found("an item", "ask"), "one that asks to subscribe, or for nothing");
        } else if (firstLine > 0) {
            skipReported(QString("an item with the jid of line %1").arg(firstLine),
                         "each jid once");
        } else {
            lines[user].insert(jid.key(), start.line);
            RosterItem item
                = {start, jid, attribute("name"), subscription, !ask.isEmpty(), QStringList()};
            item.groups = readGroups();
            result.users[user].items.append(item);
        }
    }

    QStringList readGroups()
    {
        QStringList groups;
        QSet<QString> known;
        while (nextChild()) {
            if (!isElement("group", rosterNamespace)) {
                skip("a group");
                continue;
            }
            const Position groupStart = start;
            const QString group = readText();
            if (group.trimmed().isEmpty()) {
                report(groupStart,
                       "found a group without a name; expected one with a name: skipped");
            } else if (!known.contains(group)) {
                known.insert(group);
                groups.append(group);
            }
        }
        return groups;
    }

    /** The text of the current element, which is left; elements in it are skipped. */
    QString readText()
    {
        QString text;
        while (!xml.atEnd()) {
            start = nextPosition();
            xml.readNext();
            if (xml.isEndElement())
                break;
            if (xml.isStartElement())
                skip("text");
            else if (xml.isCharacters())
                text += xml.text();
        }
        return text;
    }

    void readSender(int user, const char* element, int messages)
    {
        const Jid jid(Jid(attribute("from")).bare());
        if (!jid.isValid()) {
            skipReported(found(element, "from"), QString("one with ") + expectedJid);
            return;
        }
        QList<Sender>& all = result.users[user].senders;
        const auto known = senders[user].constFind(jid.key());
        if (known == senders[user].constEnd()) {
            senders[user].insert(jid.key(), int(all.size()));
            all.append({jid, messages});
        } else {
            all[*known].messages += messages;
        }
        xml.skipCurrentElement();
    }

    /** A user may stand in several places of a file. */
    int indexOfUser(const Jid& jid, const QString& host)
    {
        const auto known = users.constFind(jid.key());
        if (known != users.constEnd())
            return *known;
        const int index = int(result.users.size());
        users.insert(jid.key(), index);
        result.users.append({jid, host, QList<RosterItem>(), QList<Sender>()});
        lines.append(QHash<QString, qint64>());
        senders.append(QHash<QString, int>());
        return index;
    }

    /**
     * Enters the next child of the current element; leaves the element when there is no more. Text
     * in between has no place there.
     */
    bool nextChild()
    {
        while (!xml.atEnd()) {
            start = nextPosition();
            xml.readNext();
            if (xml.isStartElement())
                return true;
            if (xml.isEndElement())
                return false;
            if (xml.isCharacters() && !xml.isWhitespace())
                report(start, "found text; expected elements alone: skipped");
        }
        return false;
    }

    /** Leaves an element of another kind. Many such are part of the format. */
    void skip(const char* expected)
    {
        if (!isElement("include", includeNamespace)) {
            skipReported("another element", expected);
            return;
        }
        const QString place = placeOf(attribute("href"));
        skipReported(place.isEmpty() ? QString("an include")
                                     : QString("an include of \"%1\"").arg(place),
                     "an export in one file");
    }

    void skipReported(const QString& what, const QString& expected)
    {
        report(start, QString("found %1; expected %2: skipped").arg(what, expected));
        xml.skipCurrentElement();
    }

    void report(Position where, const QString& text) { result.reports.append({where, text}); }

    /** An element in which the attribute @p name is missing or wrong. */
    QString found(const char* element, const char* name) const
    {
        return QString(attribute(name).isEmpty() ? "%1 without %2" : "%1 whose %2 does not fit")
            .arg(element, name);
    }

    QString attribute(const char* name) const
    {
        return xml.attributes().value(QLatin1String(name)).toString();
    }

    bool isElement(const char* name, const char* inNamespace) const
    {
        return xml.name() == QLatin1String(name)
            && xml.namespaceUri() == QLatin1String(inNamespace);
    }

    /** Some servers leave out the namespace of stanzas, so that they get that of the export. */
    bool isStanza(const char* name) const
    {
        return isElement(name, stanzaNamespace) || isElement(name, exportNamespace);
    }

    /**
     * Where what is read next begins: a tag where the text before it ends, while the tag itself may
     * end lines below. The end of a text has been told by the first character after it.
     */
    Position nextPosition() const
    {
        return {xml.lineNumber(), xml.columnNumber() + (xml.isCharacters() ? 0 : 1)};
    }

    /** Where the reader stands: behind what has been read last. */
    Position position() const { return {xml.lineNumber(), xml.columnNumber() + 1}; }

    [[noreturn]] void refuseMalformed() const
    {
        // Not in the reader's words, which quote names and entities.
        refuse(xml.error() == QXmlStreamReader::PrematureEndOfDocumentError
                   ? "the end of the file"
                   : "what is no well-formed XML");
    }

    [[noreturn]] void refuse(const QString& what) const
    {
        throw std::runtime_error(QString("%1: line %2, column %3: found %4; expected %5")
                                     .arg(file.fileName(), QString::number(position().line),
                                          QString::number(position().column), what,
                                          QString(expectedRoot))
                                     .toStdString());
    }

    QFile& file;
    QXmlStreamReader xml;
    Position start = {1, 1}; // of what was read last
    ServerExport result;
    QHash<QString, int> users; // the indices of result.users, by Jid::key()
    QList<QHash<QString, qint64>> lines; // of each user's items, by Jid::key()
    QList<QHash<QString, int>> senders; // the indices of each user's senders, by Jid::key()
};

} // namespace

ServerExport readServerExport(const QString& fileName)
{
    QFile file(fileName);
    const QFileInfo info(file);
    if (info.exists() && !info.isFile()) // opening a FIFO waits for its writer
        throw std::runtime_error(QString("%1: found no regular file; expected %2")
                                     .arg(fileName, QString(expectedRoot))
                                     .toStdString());
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(QString("%1: found nothing that can be read (%2); expected %3")
                                     .arg(fileName, file.errorString(), QString(expectedRoot))
                                     .toStdString());
    return ExportReader(file).read();
}
