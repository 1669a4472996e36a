#ifndef COMMANDS_H
#define COMMANDS_H

#include "CommandLine.h"
#include "Session.h"

#include <MivoBuddy.h>
#include <MivoField.h>

#include <functional>

/** Ends the program with a status, in silence. */
class EndWithStatus : public std::exception
{
public:
    explicit EndWithStatus(int endStatus)
        : status(endStatus)
    {
    }

    const int status;
};

/** All commands, in the order in which the usage lists them. */
const QList<Command>& commands();

/** The options that several commands take. */
extern const Option withOption;
extern const Option jsonOption;

/** Where the session says what comes: not into a document of JSON. */
Session::Output outputOf(const Arguments& arguments);
/** The plug-ins that the command line names: FILE, which is answered, and those of `--with`. */
MivoPlugin* loadPlugins(Session& session, const Arguments& arguments);

/** Shows a contact list as a tree, each entry behind what @p markOf answers for it. */
void showRoster(const QList<MivoArg>& entries,
                const std::function<QString(const MivoBuddy&)>& markOf);

/** A form with values as "ID=VALUE" sets them; throws a UsageError or a Failure. */
QList<MivoField> withChanges(QList<MivoField> fields, const QStringList& assignments);
void showForm(const MivoPlugin& plugin, const QList<MivoField>& fields);
/** The buttons of these ids; throws a Failure. */
QList<MivoField> findButtons(QList<MivoField> fields, const QStringList& ids);
/** Says that they are clicked, and runs their actions. */
void clickButtons(QList<MivoField> buttons);
/** The command "form". */
void runForm(const Arguments& arguments);
/** The command "new". */
void runNew(const Arguments& arguments);
/** The command "demo". */
void runDemo(const Arguments& arguments);
/** The command "frames". */
void runFrames(const Arguments& arguments);
/** The command "roster". */
void runRoster(const Arguments& arguments);
/** The command "session". */
void runSession(const Arguments& arguments);
extern const char sessionDetails[];

#endif
