#ifndef COMMANDS_H
#define COMMANDS_H

#include "CommandLine.h"
#include "Session.h"

/** All commands, in the order in which the usage lists them. */
const QList<Command>& commands();

/** The options that several commands take. */
extern const Option withOption;
extern const Option jsonOption;

/** Where the session says what comes: not into a document of JSON. */
Session::Output outputOf(const Arguments& arguments);
/** The plug-ins that the command line names: FILE, which is answered, and those of `--with`. */
MivoPlugin* loadPlugins(Session& session, const Arguments& arguments);

/** The command "form". */
void runForm(const Arguments& arguments);
/** The command "demo". */
void runDemo(const Arguments& arguments);
/** The command "frames". */
void runFrames(const Arguments& arguments);
/** The command "roster". */
void runRoster(const Arguments& arguments);

#endif
