#include "Commands.h"
#include "Console.h"

#include <QCoreApplication>

#include <cstdlib>

namespace {

enum ExitStatus { Success = 0, CallFailed = 1, WrongUsage = 2 };

QString usageOf(const Command& command)
{
    QString usage
        = QString("usage: mivo-host %1 %2").arg(command.name, command.parameters).trimmed() + '\n'
        + command.help;
    if (command.details)
        usage += QString('\n') + command.details;
    return usage;
}

QString usage()
{
    QString text("usage: mivo-host COMMAND [ARGUMENT...]\n"
                 "Loads plug-ins and calls them. Commands:");
    for (const Command& command : commands())
        text += QString("\n  %1 %2\n      %3").arg(command.name, command.parameters, command.help);
    text += "\n`mivo-host COMMAND --help` tells more. Exit status: 0, 1 when the command failed, 2 "
            "for wrong\n"
            "usage.";
    return text;
}

int run(const Command& command, const QStringList& arguments)
{
    if (arguments.contains("--help")) {
        Console::out(usageOf(command));
        return Success;
    }
    try {
        command.run(arguments);
        return Success;
    } catch (const UsageError& error) {
        Console::error(QString("mivo-host %1: %2").arg(command.name, error.what()));
        Console::error(usageOf(command));
        return WrongUsage;
    } catch (const std::exception& error) {
        Console::error(QString("mivo-host %1: %2").arg(command.name, error.what()));
        return CallFailed;
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    // Read as UTF-8 whatever the locale: Qt 5 would lose what the "C" locale lacks.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromUtf8(argv[i]));
    const QString name = arguments.value(0);
    if (name == "--help") {
        Console::out(usage());
        return Success;
    }
    for (const Command& command : commands()) {
        if (name == command.name)
            return run(command, arguments.mid(1));
    }
    if (name.isEmpty())
        Console::error("mivo-host: found no command; expected one");
    else
        Console::error(
            QString("mivo-host: found the command \"%1\"; expected one of these").arg(name));
    Console::error(usage());
    return WrongUsage;
}
