#include "HostCalls.h"

#include "Failure.h"

#include <MivoCallSlotTimeoutException.h>
#include <MivoField.h>
#include <MivoHost.h>

namespace {

const int answerTimeoutMs = 30000; // of all synchronous calls

/** Makes a call whose time-out is told by @p what. */
template <class Call>
auto answerOf(Call call, const QString& what)
{
    try {
        return call();
    } catch (const MivoCallSlotTimeoutException&) {
        throw Failure(QString("%1 within %2 ms").arg(what).arg(answerTimeoutMs));
    } catch (const MivoHostError& error) {
        throw Failure(error.message());
    }
}

} // namespace

QList<MivoArg> HostCalls::call(const MivoHost& host, MivoPlugin* plugin, const QString& name,
                               const QString& slot, const QList<MivoArg>& arguments,
                               MivoPlugin* sender)
{
    return answerOf([&] { return host.call(plugin, slot, arguments, sender); },
                    QString("%1: %2 has not answered").arg(name, slot));
}

QList<MivoField> HostCalls::fields(const MivoHost& host, MivoPlugin* plugin, const QString& name)
{
    return answerOf([&] { return host.fields(plugin); },
                    QString("%1: its form has not been made").arg(name));
}

QList<MivoField> HostCalls::applyFields(const MivoHost& host, MivoPlugin* plugin,
                                        const QString& name, const QList<MivoField>& fields)
{
    return answerOf([&] { return host.applyFields(plugin, fields); },
                    QString("%1: it has not taken the values over").arg(name));
}
