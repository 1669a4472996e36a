#ifndef HOSTCALLS_H
#define HOSTCALLS_H

#include <MivoArg.h>

#include <QString>

class MivoField;
class MivoHost;
class MivoPlugin;

/**
 * Calls into plug-ins that end in an answer or in a Failure with one sentence, which tells of a
 * time-out too. They wait for the plug-in, for at most 30 s.
 */
namespace HostCalls {

/** What the slot answers; @p name is the plug-in's, for the sentence. */
QList<MivoArg> call(const MivoHost& host, MivoPlugin* plugin, const QString& name,
                    const QString& slot, const QList<MivoArg>& arguments,
                    MivoPlugin* sender = nullptr);
/** The form that the plug-in shows. */
QList<MivoField> fields(const MivoHost& host, MivoPlugin* plugin, const QString& name);
/** Hands the form to the plug-in and answers the one that it then shows. */
QList<MivoField> applyFields(const MivoHost& host, MivoPlugin* plugin, const QString& name,
                             const QList<MivoField>& fields);

} // namespace HostCalls

#endif
