#include "Commands.h"
#include "Console.h"
#include "Files.h"

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
    const QString begin = QString("mivo-host %1: ").arg(command.name);
    try {
        if (arguments.contains("--help"))
            Console::outLines(usageOf(command));
        else
            command.run(arguments);
        Console::requireWritten();
        return Success;
    } catch (const UsageError& error) {
        Console::error(begin + error.message());
        Console::errorLines(usageOf(command));
        return WrongUsage;
    } catch (const std::exception& error) {
        Console::error(begin + QString::fromUtf8(error.what()));
        return CallFailed;
    }
}

/** Lets Qt use the names of files as they are where the locale knows ASCII alone. */
void useUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setenv("LC_ALL", "C.UTF-8", 1);
}

int run(const QStringList& arguments)
{
    const QString name = arguments.value(0);
    if (name == "--help") {
        Console::outLines(usage());
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
    Console::errorLines(usage());
    return WrongUsage;
}

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
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(writeMessage);
    MivoHostLog::setWriter(writeLog);

    const int status = run(arguments);
    // What a thread still uses that had to be abandoned must not be destroyed under it.
    if (MivoHost::abandonedThreads() > 0)
        std::_Exit(CallFailed);
    return status;
}
