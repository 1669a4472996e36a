#ifndef JID_H
#define JID_H

#include <QString>

/** An XMPP address, [local@]domain[/resource]. A text that is none makes an invalid one. */
class Jid
{
public:
    explicit Jid(const QString& text);

    bool isValid() const;
    /** As it was given; null when invalid. */
    QString text() const;
    /** Without the resource; null when invalid. */
    QString bare() const;
    /** What stands between "@" and "/"; null when invalid. */
    QString domain() const;
    /** Behind the first "/"; null when there is none. */
    QString resource() const;
    /**
     * The same for two addresses that differ only in the case of what is not the resource, and so
     * lead to the same place.
     */
    QString key() const;

private:
    QString beforeSlash;
    QString fromSlash; // empty when there is no resource
};

#endif
