#include "ServerExport.h"

#include <QFile>
#include <QHash>
#include <QXmlStreamReader>

#include <stdexcept>

namespace {

const char exportNamespace[] = "urn:xmpp:pie:0";
const char rosterNamespace[] = "jabber:iq:roster";
const char stanzaNamespace[] = "jabber:client";
const char includeNamespace[] = "http://www.w3.org/2001/XInclude";

const char expectedRoot[] = "the element \"server-data\" of the namespace \"urn:xmpp:pie:0\"";
const char expectedJid[] = "an address such as romeo@example.org";

/** As a message shows it: an attribute may hold line ends. */
QString quoted(const QString& text)
{
    return '"' + text.simplified() + '"';
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
            refuse(QString("the element %1 of the namespace %2")
                       .arg(quoted(xml.name().toString()), quoted(xml.namespaceUri().toString())));

        while (nextChild()) {
            if (isElement("host", exportNamespace))
                readHost();
            else
                skip();
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
                skip();
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
            else if (isElement("presence", stanzaNamespace) && attribute("type") == "subscribe")
                readSender(index, "a presence", 0);
            else
                skip();
        }
    }

    void readRoster(int user)
    {
        while (nextChild()) {
            if (isElement("item", rosterNamespace))
                readItem(user);
            else
                skip();
        }
    }

    void readMessages(int user)
    {
        while (nextChild()) {
            if (isElement("message", stanzaNamespace))
                readSender(user, "a message", 1);
            else
                skip();
        }
    }

    void readItem(int user)
    {
        const Jid jid(attribute("jid"));
        const QString written = attribute("subscription");
        const QString subscription = written.isEmpty() ? QString("none") : written;
        const QString ask = attribute("ask");
        const qint64 firstLine = lines[user].value(jid.key(), 0);

        if (!jid.isValid()) {
            skipReported(found("an item", "jid"), QString("one with ") + expectedJid);
        } else if (!QStringList({"none", "to", "from", "both"}).contains(subscription)) {
            skipReported(found("an item", "subscription"),
                         "one with the subscription none, to, from or both");
        } else if (!ask.isEmpty() && ask != "subscribe") {
            skipReported(found("an item", "ask"), "one that asks to subscribe, or for nothing");
        } else if (firstLine > 0) {
            skipReported(found("an item", "jid"),
                         QString("one that is not in line %1 already").arg(firstLine));
        } else {
            lines[user].insert(jid.key(), startLine);
            RosterItem item
                = {startLine, jid, attribute("name"), subscription, !ask.isEmpty(), QStringList()};
            item.groups = readGroups();
            result.users[user].items.append(item);
        }
    }

    QStringList readGroups()
    {
        QStringList groups;
        while (nextChild()) {
            if (!isElement("group", rosterNamespace)) {
                skip();
                continue;
            }
            const qint64 line = startLine;
            const QString group = xml.readElementText(QXmlStreamReader::SkipChildElements);
            if (group.trimmed().isEmpty())
                report(line, "found a group without a name; expected one with a name: ignored");
            else if (!groups.contains(group))
                groups.append(group);
        }
        return groups;
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

    /** Enters the next child of the current element; leaves the element when there is no more. */
    bool nextChild()
    {
        while (!xml.atEnd()) {
            // The text before a tag ends where the tag begins, the tag may end lines below.
            startLine = xml.lineNumber();
            xml.readNext();
            if (xml.isStartElement())
                return true;
            if (xml.isEndElement())
                return false;
        }
        return false;
    }

    /** Leaves an element of another kind; such are part of the format, but for one. */
    void skip()
    {
        if (isElement("include", includeNamespace))
            skipReported(found("an include", "href"), "an export in one file");
        else
            xml.skipCurrentElement();
    }

    void skipReported(const QString& what, const QString& expected)
    {
        report(startLine, QString("found %1; expected %2: skipped").arg(what, expected));
        xml.skipCurrentElement();
    }

    void report(qint64 line, const QString& text) { result.reports.append({line, text}); }

    QString found(const char* element, const char* name) const
    {
        const QString value = attribute(name);
        return value.isEmpty() ? QString("%1 without %2").arg(element, name)
                               : QString("%1 with the %2 %3").arg(element, name, quoted(value));
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

    [[noreturn]] void refuseMalformed() const
    {
        refuse(QString("what is no well-formed XML (%1)").arg(xml.errorString()));
    }

    [[noreturn]] void refuse(const QString& what) const
    {
        throw std::runtime_error(QString("%1: line %2, column %3: found %4; expected %5")
                                     .arg(file.fileName(), QString::number(xml.lineNumber()),
                                          QString::number(xml.columnNumber() + 1), what,
                                          QString(expectedRoot))
                                     .toStdString());
    }

    QFile& file;
    QXmlStreamReader xml;
    qint64 startLine = 1; // of the element that was entered last
    ServerExport result;
    QHash<QString, int> users; // the indices of result.users, by Jid::key()
    QList<QHash<QString, qint64>> lines; // of each user's items, by Jid::key()
    QList<QHash<QString, int>> senders; // the indices of each user's senders, by Jid::key()
};

} // namespace

ServerExport readServerExport(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(QString("%1: found nothing that can be read (%2); expected %3")
                                     .arg(fileName, file.errorString(), QString(expectedRoot))
                                     .toStdString());
    return ExportReader(file).read();
}
