#include "ManPage.h"

#include "Commands.h"

#include <MivoGlobal.h>

namespace {

/** Plain text: nothing in it is taken for a request or a special character. */
QString plain(const QString& text)
{
    QStringList lines = text.split('\n');
    for (QString& line : lines) {
        line.replace('\\', "\\e").replace('-', "\\-").replace('`', "\\(ga").replace('\'', "\\(aq");
        if (line.startsWith('.'))
            line.prepend("\\&");
    }
    return lines.join('\n');
}

} // namespace

QString manPage()
{
    QStringList page = {
        QString(".TH MIVO\\-HOST 1 \"\" \"libmivo_data %1\" \"User Commands\"")
            .arg(MIVO_VERSION_STR),
        ".SH NAME",
        "mivo\\-host \\- load plug\\-ins and call them",
        ".SH SYNOPSIS",
        ".B mivo\\-host",
        ".I COMMAND",
        "[\\fIARGUMENT\\fR...]",
        ".br",
        ".B mivo\\-host \\-\\-help",
        "[\\fICOMMAND\\fR]",
        ".br",
        ".B mivo\\-host \\-\\-version",
        ".SH DESCRIPTION",
        plain(
            "Loads plug-ins of a messenger and calls them, each in a thread of its own. Options "
            "may "
            "stand anywhere among a command's arguments, as --option VALUE or --option=VALUE; one "
            "that takes several values takes all that follow it up to the next option, but one "
            "alone with = and before the arguments that the command needs. Arguments after -- are "
            "no options."),
        ".SH COMMANDS"};
    for (const Command& command : commands()) {
        page << ".SS " + plain(CommandLine::synopsis(command)) << plain(command.help);
        if (command.details)
            page << ".PP" << plain(command.details);
        const QList<CommandLine::OptionHelp> options = CommandLine::optionHelps(command);
        for (const CommandLine::OptionHelp& option : options)
            page << ".TP"
                 << ".B " + plain(option.usage) << plain(option.help);
    }
    page << ".SH EXIT STATUS"
         << "0, 1 when the command failed, 2 for wrong usage.";
    return page.join('\n');
}
