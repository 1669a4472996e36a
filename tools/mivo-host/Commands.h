#ifndef COMMANDS_H
#define COMMANDS_H

#include "Failure.h"

#include <MivoArg.h>
#include <MivoHost.h>

#include <functional>

/** A command line that the command does not understand: exit status 2 and the command's usage. */
class UsageError : public Failure
{
public:
    using Failure::Failure;
};

/**
 * A command of mivo-host. `run` gets what follows the command's name, throws a UsageError, or
 * anything else that derives from std::exception when the command fails.
 */
struct Command
{
    const char* name;
    const char* parameters;
    const char* help;
    const char* details; // further lines of its usage; may be null
    void (*run)(const QStringList& arguments);
};

/** All commands, in the order in which the usage lists them. */
const QList<Command>& commands();

/** The writer of the host's log while a command does not set another: to standard error. */
void writeLog(const QString& line);

/** Loads the plug-in in @p file into @p host; throws a Failure with the reason. */
MivoPlugin* loadPlugin(MivoHost& host, const QString& file);
/** Starts @p host; throws a Failure with the reason. */
void startHost(MivoHost& host);

/**
 * Posts actions through @p post, then shuts @p host down, which delivers them; says each delivery.
 * Throws a Failure when an action failed.
 */
void deliver(MivoHost& host, const std::function<void()>& post);

/** The command "form". */
void runForm(const QStringList& arguments);
/** The command "demo". */
void runDemo(const QStringList& arguments);
/** The command "frames". */
void runFrames(const QStringList& arguments);
/** The command "roster". */
void runRoster(const QStringList& arguments);

#endif
