#include "SeenMessages.h"

#include <QCryptographicHash>

bool SeenMessages::note(const QString& sender, const QString& id, const QString& text)
{
    if (id.isEmpty())
        return false;
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const QString& part : {sender, id, text}) {
        const QByteArray bytes = part.toUtf8();
        hash.addData(QByteArray::number(qlonglong(bytes.size())) + ':');
        hash.addData(bytes);
    }
    const QByteArray key = hash.result();
    if (known.contains(key))
        return true;
    known.insert(key);
    order.enqueue(key);
    if (order.size() > Kept)
        known.remove(order.dequeue());
    return false;
}
