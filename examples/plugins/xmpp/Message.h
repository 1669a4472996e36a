#ifndef MESSAGE_H
#define MESSAGE_H

#include <MivoArg.h>
#include <MivoBuddy.h>

/** What has become of a message, as watching plug-ins and open conversations are told. */
struct Message
{
    MivoBuddy entry;
    QString event; ///< "received", "queued", "taken", "failed" or "asks"
    QString id;
    QString text;
    qint64 time; ///< milliseconds since 1970-01-01 UTC
    QString from; ///< the address of who has written it
    QString reason; ///< one sentence on why it has failed

    /** All but the entry. */
    QList<MivoArg> toArguments() const
    {
        return {MivoArg(event), MivoArg(id),
                MivoArg(text),  MivoArg(static_cast<long long>(time)),
                MivoArg(from),  MivoArg(reason)};
    }
};

#endif
