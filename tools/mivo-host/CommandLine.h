#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include "Failure.h"

#include <QHash>
#include <QStringList>

/**
 * @file
 * What commands take on their command lines, written down once: their arguments are read by it, and
 * usage, manual page and completion are made of it. The parsers that are to be had let no option
 * take several values when options may stand anywhere, hence this one.
 */

/** A command line that the command does not understand: exit status 2 and the command's usage. */
class UsageError : public Failure
{
public:
    using Failure::Failure;
};

/** What a shell may complete an argument with. */
enum class Completion { Nothing, Files, PluginFiles, Plugins, CallSlots, ActionSlots, Kinds };

/** An argument that is no option, by its place. */
struct Operand
{
    enum Count { One, AtMostOne, OneOrMore, AnyNumber };

    const char* name;
    Count count;
    Completion completion;
};

/**
 * An option, `--name VALUE` or `--name=VALUE`. One that takes several values takes all that follow
 * it up to the next option; but it takes one alone with `=`, and as long as an argument is missing
 * that the command needs.
 */
struct Option
{
    enum Count { Flag, One, Several };

    const char* name; ///< with its dashes
    Count count;
    const char* value; ///< what the usage calls its value
    const char* expected; ///< what a message says that it takes
    const char* help; ///< half a sentence
    Completion completion;
};

/** The arguments of a command, by what they are. */
class Arguments
{
public:
    /** Those that are no options, in their order. */
    QStringList operands;

    bool has(const char* option) const { return options.contains(option); }
    QStringList values(const char* option) const { return options.value(option); }
    /** Null when the option is not there. */
    QString value(const char* option) const { return options.value(option).value(0); }

    QHash<QString, QStringList> options; // by name
};

/** A command of the program. */
struct Command
{
    const char* name;
    QList<Operand> operands;
    QList<Option> options;
    const char* help; ///< one sentence
    const char* details; ///< further lines; may be null
    /**
     * Throws a UsageError, or anything else that derives from std::exception when the command
     * fails.
     */
    void (*run)(const Arguments& arguments);
};

namespace CommandLine {

/** Whether help is asked for, which any argument may do up to one that is "--". */
bool asksForHelp(const QStringList& arguments);
/** What follows the command's name; throws a UsageError that says what was found and expected. */
Arguments parse(const Command& command, const QStringList& arguments);
/** The command's name and all that it takes, on one line. */
QString synopsis(const Command& command);
/** An option with its value as the usage shows it, and what it does. */
struct OptionHelp
{
    QString usage;
    QString help;
};
/** Of each option, that for help included. */
QList<OptionHelp> optionHelps(const Command& command);
/** A line for each option. */
QStringList optionLines(const Command& command);

/** What a shell may put in place of the argument that is being written. */
struct Proposal
{
    QStringList options; ///< names; none where an option's value is expected
    Completion completion; ///< of another argument
    QStringList operands; ///< before it
};
/** What may follow @p before, which is all that stands between the command's name and there. */
Proposal proposalAfter(const Command& command, const QStringList& before);
/** The one of @p known that @p text may be meant for; null when none is near. */
QString nearest(const QString& text, const QStringList& known);

} // namespace CommandLine

#endif
