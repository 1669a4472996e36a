#include "Commands.h"
#include "Console.h"
#include "DisplayText.h"
#include "Files.h"
#include "ManPage.h"
#include "Proposals.h"
#include "Session.h"

#include <MivoHostLog.h>

#include <QCoreApplication>

#include <clocale>
#include <cstdlib>
#include <cstring>

#include <langinfo.h>

namespace {

enum ExitStatus { Success = 0, CallFailed = 1, WrongUsage = 2 };

QString usageOf(const Command& command)
{
    QString usage
        = "usage: mivo-host " + CommandLine::synopsis(command) + '\n' + command.help + '\n';
    if (command.details)
        usage += QString(command.details) + '\n';
    return usage + CommandLine::optionLines(command).join('\n');
}

QString usage()
{
    QString text("usage: mivo-host COMMAND [ARGUMENT...]\n"
                 "Loads plug-ins and calls them. Commands:");
    for (const Command& command : commands())
        text += QString("\n  %1\n      %2").arg(CommandLine::synopsis(command), command.help);
    text += "\n`mivo-host COMMAND --help` tells more, `mivo-host --version` the version. Exit "
            "status: "
            "0,\n1 when the command failed, 2 for wrong usage.";
    return text;
}

QString manual()
{
    ManPage page("mivo-host", "load plug-ins and call them");
    page.addSynopsis({"COMMAND [ARGUMENT...]", "--help [COMMAND]", "--version"});
    page.addSection("DESCRIPTION");
    page.addText(
        "Loads plug-ins of a messenger and calls them, each in a thread of its own. Options may "
        "stand anywhere among a command's arguments, as --option VALUE or --option=VALUE; one that "
        "takes several values takes all that follow it up to the next option, but one alone with = "
        "and before the arguments that the command needs. Arguments after -- are no options.");
    page.addSection("COMMANDS");
    for (const Command& command : commands()) {
        page.addSubsection(CommandLine::synopsis(command));
        page.addText(command.help);
        if (command.details)
            page.addText(command.details);
        const QList<CommandLine::OptionHelp> options = CommandLine::optionHelps(command);
        for (const CommandLine::OptionHelp& option : options)
            page.addOption(option.usage, option.help);
    }
    page.addSection("EXIT STATUS");
    page.addText("0, 1 when the command failed, 2 for wrong usage.");
    return page.text();
}

const Command* findCommand(const QString& name)
{
    for (const Command& command : commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

int run(const Command& command, const QStringList& arguments)
{
    const QString begin = QString("mivo-host %1: ").arg(command.name);
    try {
        command.run(CommandLine::parse(command, arguments));
        Console::requireWritten();
        return Success;
    } catch (const EndWithStatus& end) {
        return end.status;
    } catch (const UsageError& error) {
        Console::error(begin + error.message());
        Console::errorLines(usageOf(command));
        return WrongUsage;
    } catch (const std::exception& error) {
        Console::error(begin + QString::fromUtf8(error.what()));
        return CallFailed;
    }
}

int show(const QString& text)
{
    Console::outLines(text);
    try {
        Console::requireWritten();
        return Success;
    } catch (const Failure& failure) {
        Console::error("mivo-host: " + failure.message());
        return CallFailed;
    }
}

int refuse(const QString& found)
{
    if (found.isEmpty()) {
        Console::error("mivo-host: found no command; expected one");
    } else {
        QStringList names;
        for (const Command& command : commands())
            names.append(command.name);
        const QString meant = CommandLine::nearest(found, names);
        Console::error(QString("mivo-host: found the command %1; expected one of these")
                           .arg(quotedOneLine(found))
                       + (meant.isEmpty() ? QString() : QString("; the nearest is %1").arg(meant)));
    }
    Console::errorLines(usage());
    return WrongUsage;
}

int run(const QStringList& arguments)
{
    if (arguments.value(0) == "--complete") {
        const QStringList proposals = proposalsFor(arguments.mid(1));
        return proposals.isEmpty() ? int(Success) : show(proposals.join('\n'));
    }
    // Help may be asked for before the command, too.
    const bool needsHelp = CommandLine::asksForHelp(arguments);
    const QString name = arguments.value(
        needsHelp && (arguments.at(0) == "--help" || arguments.at(0) == "-h") ? 1 : 0);
    const Command* const command = findCommand(name);
    if (needsHelp && (command || name.isEmpty()))
        return show(command ? usageOf(*command) : usage());
    if (name == "--version")
        return show("mivo-host " MIVO_VERSION_STR);
    if (name == "--man")
        return show(manual());
    return command ? run(*command, arguments.mid(1)) : refuse(name);
}

/** Lets Qt use the names of files as they are where the locale knows ASCII alone. */
void useUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setenv("LC_ALL", "C.UTF-8", 1);
}

class Application : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    /** Called in every thread. */
    bool notify(QObject* receiver, QEvent* event) override
    {
        const TimerWatch watch(receiver, event);
        return QCoreApplication::notify(receiver, event);
    }
};

void writeMessage(QtMsgType, const QMessageLogContext&, const QString& message)
{
    Console::error(message);
}

} // namespace

int main(int argc, char** argv)
{
    Console::prepare();
    useUtf8();
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(Files::nameFrom(argv[i]));
    const Application application(argc, argv);
    qInstallMessageHandler(writeMessage);
    MivoHostLog::setWriter(writeLog);

    const int status = run(arguments);
    // What a thread still uses that had to be abandoned must not be destroyed under it.
    if (MivoHost::abandonedThreads() > 0)
        std::_Exit(status == Success ? int(CallFailed) : status);
    return status;
}
