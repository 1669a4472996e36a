#ifndef COMMANDS_H
#define COMMANDS_H

#include <MivoArg.h>
#include <MivoHost.h>

#include <functional>
#include <stdexcept>

/** A command line that the command does not understand: exit status 2 and the command's usage. */
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};

/** A command that could not do its work: exit status 1. */
class Failure : public std::runtime_error
{
public:
    explicit Failure(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
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

/** Loads the plug-in in @p file into @p host; throws a Failure with the reason. */
MivoPlugin* loadPlugin(MivoHost& host, const QString& file);
/** Starts @p host; throws a Failure with the reason. */
void startHost(MivoHost& host);

/**
 * Posts actions through @p post, then shuts @p host down, which delivers them; says each delivery.
 * Throws a Failure when an action failed.
 */
void deliver(MivoHost& host, const std::function<void()>& post);

/**
 * The file of the example plug-in @p name in the build tree, or beside an installed mivo-host;
 * throws a Failure when it is in neither.
 */
QString examplePlugin(const QString& name);

/** The command "form". */
void runForm(const QStringList& arguments);
/** The command "demo". */
void runDemo(const QStringList& arguments);
/** The command "frames". */
void runFrames(const QStringList& arguments);
/** The command "roster". */
void runRoster(const QStringList& arguments);

#endif
