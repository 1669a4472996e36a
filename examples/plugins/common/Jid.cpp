#include "Jid.h"

#include <algorithm>

namespace {

const int maximumBytes = 1023;

bool isPart(const QString& part, const QString& forbidden, bool mayHaveBlanks)
{
    return !part.isEmpty() && part.toUtf8().size() <= maximumBytes
        && std::none_of(part.begin(), part.end(), [&](QChar character) {
               return character.category() == QChar::Other_Control
                   || (character.isSpace() && !mayHaveBlanks) || forbidden.contains(character);
           });
}

bool isDomain(const QString& part)
{
    if (part.startsWith('[') && part.endsWith(']')) // the address of a machine
        return isPart(part.mid(1, part.size() - 2), "\"&'/<>@[]", false);
    return isPart(part, "\"&'/:<>@[]\\", false) && !part.startsWith('.') && !part.contains("..");
}

} // namespace

Jid::Jid(const QString& text)
{
    const auto slash = text.indexOf('/');
    const QString address = text.left(slash);
    const auto at = address.indexOf('@');
    if ((at >= 0 && !isPart(address.left(at), "\"&'/:<>@", false)) || !isDomain(address.mid(at + 1))
        || (slash >= 0 && !isPart(text.mid(slash + 1), QString(), true)))
        return;
    beforeSlash = address;
    if (slash >= 0)
        fromSlash = text.mid(slash);
}

bool Jid::isValid() const
{
    return !beforeSlash.isEmpty();
}

QString Jid::text() const
{
    return beforeSlash + fromSlash;
}

QString Jid::bare() const
{
    return beforeSlash;
}

QString Jid::domain() const
{
    return beforeSlash.mid(beforeSlash.indexOf('@') + 1);
}

QString Jid::resource() const
{
    return fromSlash.mid(1);
}

QString Jid::key() const
{
    return beforeSlash.toCaseFolded() + fromSlash;
}
