#ifndef STANZA_H
#define STANZA_H

#include <MivoXmlNode.h>

#include <QDateTime>

/** @file
 * Stanzas of XMPP as elements. Each element that comes from a stream has its namespace in an attribute
 * "xmlns" of its own; one that is made here names it where it differs from that above.
 */

/** The namespaces that the plug-in speaks. */
namespace Ns {
extern const char client[];
extern const char roster[];
extern const char ping[];
extern const char delay[];
extern const char stanzaErrors[];
extern const char commands[];
extern const char dataForms[];
extern const char items[];
extern const char vCard[];
extern const char vCardUpdate[];
extern const char acknowledgement[];
} // namespace Ns

namespace Stanza {

/** An identity that nobody can guess. */
QString newId();

MivoXmlNode iq(const QString& type, const QString& id, const QString& to = QString());
/** Adds a child with a namespace of its own. */
MivoXmlNode addChild(MivoXmlNode& parent, const char* name, const char* xmlns);
/** Adds a child that holds @p text alone. */
MivoXmlNode addText(MivoXmlNode& parent, const char* name, const QString& text);

bool is(const MivoXmlNode& element, const char* name, const char* xmlns);
/** The first child of that name and namespace; null when there is none. */
MivoXmlNode child(const MivoXmlNode& element, const char* name, const char* xmlns);
/** All children of that name and namespace. */
QList<MivoXmlNode> children(const MivoXmlNode& element, const char* name, const char* xmlns);
/** A copy, which is a tree of its own. */
MivoXmlNode copyOf(const MivoXmlNode& element);

/** What an answer of type "error" says, for the user. */
QString errorText(const MivoXmlNode& stanza);
/** When the stanza was sent, by its mark of a delay (XEP-0203); now without one. */
QDateTime timeOf(const MivoXmlNode& stanza);

} // namespace Stanza

#endif
