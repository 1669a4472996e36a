#include "Outbox.h"

#include <algorithm>

void Outbox::add(const Letter& letter)
{
    letters.append(letter);
}

QList<Letter> Outbox::takeSendable()
{
    if (careful > 0 && sent > 0)
        return {};
    const int count
        = careful > 0 ? std::min<int>(1, int(letters.size())) : int(letters.size()) - sent;
    const QList<Letter> sendable = letters.mid(sent, count);
    sent += count;
    return sendable;
}

QStringList Outbox::confirm(int count)
{
    QStringList ids;
    for (int i = std::min(count, sent); i > 0; --i) {
        ids.append(letters.takeFirst().id);
        --sent;
        careful = std::max(0, careful - 1);
    }
    return ids;
}

QList<Letter> Outbox::noteLoss(bool isObjection)
{
    QList<Letter> givenUp;
    if (isObjection && sent > 0) {
        if (careful > 0 || sent == 1) {
            givenUp.append(letters.takeFirst());
            careful = std::max(0, careful - 1);
        } else {
            careful = sent;
        }
    }
    sent = 0;
    return givenUp;
}

QList<Letter> Outbox::takeAll()
{
    const QList<Letter> all = letters;
    *this = Outbox();
    return all;
}
