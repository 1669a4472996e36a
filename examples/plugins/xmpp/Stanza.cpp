#include "Stanza.h"

#include <QUuid>

namespace Ns {
const char client[] = "jabber:client";
const char roster[] = "jabber:iq:roster";
const char ping[] = "urn:xmpp:ping";
const char delay[] = "urn:xmpp:delay";
const char stanzaErrors[] = "urn:ietf:params:xml:ns:xmpp-stanzas";
const char commands[] = "http://jabber.org/protocol/commands";
const char dataForms[] = "jabber:x:data";
const char items[] = "http://jabber.org/protocol/disco#items";
const char vCard[] = "vcard-temp";
const char vCardUpdate[] = "vcard-temp:x:update";
const char acknowledgement[] = "urn:xmpp:sm:3";
} // namespace Ns

QString Stanza::newId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

MivoXmlNode Stanza::iq(const QString& type, const QString& id, const QString& to)
{
    MivoXmlNode stanza("iq");
    stanza.setAttribute("type", type);
    stanza.setAttribute("id", id);
    if (!to.isEmpty())
        stanza.setAttribute("to", to);
    return stanza;
}

MivoXmlNode Stanza::addChild(MivoXmlNode& parent, const char* name, const char* xmlns)
{
    MivoXmlNode added = parent.addChild(name);
    added.setAttribute("xmlns", QString(xmlns));
    return added;
}

MivoXmlNode Stanza::addText(MivoXmlNode& parent, const char* name, const QString& text)
{
    MivoXmlNode added = parent.addChild(name);
    added.insertData(text);
    return added;
}

bool Stanza::is(const MivoXmlNode& element, const char* name, const char* xmlns)
{
    return element.name() == QLatin1String(name)
        && element.getAttribute("xmlns") == QLatin1String(xmlns);
}

MivoXmlNode Stanza::child(const MivoXmlNode& element, const char* name, const char* xmlns)
{
    return children(element, name, xmlns).value(0);
}

QList<MivoXmlNode> Stanza::children(const MivoXmlNode& element, const char* name, const char* xmlns)
{
    QList<MivoXmlNode> found;
    for (const MivoXmlNode& child : element.getChildNodes()) {
        if (is(child, name, xmlns))
            found.append(child);
    }
    return found;
}

MivoXmlNode Stanza::copyOf(const MivoXmlNode& element)
{
    return MivoXmlNode::parse(element.toXml(-1));
}

QString Stanza::errorText(const MivoXmlNode& stanza)
{
    const MivoXmlNode error = child(stanza, "error", Ns::client);
    const QString text = child(error, "text", Ns::stanzaErrors).getData();
    if (!text.trimmed().isEmpty())
        return text.simplified();
    for (const MivoXmlNode& condition : error.getChildNodes()) {
        if (condition.getAttribute("xmlns") == Ns::stanzaErrors)
            return condition.name();
    }
    return "the server gives no reason";
}

QDateTime Stanza::timeOf(const MivoXmlNode& stanza)
{
    const QDateTime stamp = QDateTime::fromString(
        child(stanza, "delay", Ns::delay).getAttribute("stamp"), Qt::ISODateWithMs);
    return stamp.isValid() ? stamp.toUTC() : QDateTime::currentDateTimeUtc();
}
