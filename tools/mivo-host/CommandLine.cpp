#include "CommandLine.h"

#include "DisplayText.h"

#include <QVector>

#include <algorithm>

namespace {

const Option helpOption
    = {"-h, --help", Option::Flag, nullptr, nullptr, "shows this", Completion::Nothing};

QStringList optionNames(const Command& command)
{
    QStringList names;
    for (const Option& option : command.options)
        names.append(option.name);
    return names;
}

const Option* findOption(const Command& command, const QString& name)
{
    for (const Option& option : command.options) {
        if (name == option.name)
            return &option;
    }
    return nullptr;
}

bool isOption(const QString& argument)
{
    return argument.startsWith("--") || argument == "-h";
}

int neededOperands(const Command& command)
{
    return int(
        std::count_if(command.operands.begin(), command.operands.end(), [](const Operand& operand) {
            return operand.count == Operand::One || operand.count == Operand::OneOrMore;
        }));
}

bool takesAnyNumber(const Command& command)
{
    return std::any_of(
        command.operands.begin(), command.operands.end(), [](const Operand& operand) {
            return operand.count == Operand::OneOrMore || operand.count == Operand::AnyNumber;
        });
}

/** What the command takes besides options, in words. */
QString expectedOperands(const Command& command)
{
    QStringList names;
    for (const Operand& operand : command.operands) {
        if (operand.count == Operand::One)
            names.append(operand.name);
        else if (operand.count == Operand::OneOrMore)
            names.append(QString("at least one %1").arg(operand.name));
        else if (operand.count == Operand::AtMostOne)
            names.append(QString("at most one %1").arg(operand.name));
    }
    return names.isEmpty() ? QString("none") : names.join(" and ");
}

/** The steps from one text to the other: characters put in, left out or exchanged. */
int distance(const QString& a, const QString& b)
{
    QVector<int> row(int(b.size()) + 1);
    for (int j = 0; j < row.size(); ++j)
        row[j] = j;
    for (int i = 0; i < a.size(); ++i) {
        int diagonal = row[0]++;
        for (int j = 0; j < b.size(); ++j) {
            const int exchanged = diagonal + (a.at(i) == b.at(j) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.last();
}

class Parser
{
public:
    Parser(const Command& parsedCommand, const QStringList& parsedArguments)
        : command(parsedCommand)
        , arguments(parsedArguments)
    {
    }

    Arguments parse()
    {
        while (pos < arguments.size()) {
            const QString argument = arguments.at(pos++);
            if (isOptionHere(argument))
                parseOption(argument);
            else if (argument == "--" && !areOptionsOver)
                areOptionsOver = true;
            else
                result.operands.append(argument);
        }
        const int count = int(result.operands.size());
        const int most = int(command.operands.size());
        if (count < neededOperands(command) || (count > most && !takesAnyNumber(command)))
            throw UsageError(QString("found %1 arguments; expected %2")
                                 .arg(count)
                                 .arg(expectedOperands(command)));
        return result;
    }

private:
    bool isOptionHere(const QString& argument) const
    {
        return !areOptionsOver && argument != "--" && isOption(argument);
    }

    void parseOption(const QString& argument)
    {
        const int equals = int(argument.indexOf('='));
        const Option* const option = findOption(command, argument.left(equals));
        if (!option)
            refuseOption(argument.left(equals));

        QStringList& values = result.options[option->name];
        if (option->count == Option::Flag) {
            if (equals >= 0)
                refuseValue(*option, argument.mid(equals + 1), "nothing after it");
            return;
        }
        QStringList found;
        if (equals >= 0)
            found.append(argument.mid(equals + 1));
        const bool takesAll
            = option->count == Option::Several && result.operands.size() >= neededOperands(command);
        while (equals < 0 && (found.isEmpty() || takesAll) && pos < arguments.size()
               && arguments.at(pos) != "--" && !isOptionHere(arguments.at(pos)))
            found.append(arguments.at(pos++));

        values += found;
        if (found.isEmpty())
            refuseValue(*option, "nothing", option->expected);
        if (option->count == Option::One && values.size() > 1)
            refuseValue(*option, values.join(" and "), option->expected);
        if (values.contains(QString()))
            refuseValue(*option, "an empty text", option->expected);
    }

    [[noreturn]] static void refuseValue(const Option& option, const QString& found,
                                         const QString& expected)
    {
        throw UsageError(
            QString("%1: found %2; expected %3").arg(option.name, oneLine(found), expected));
    }

    [[noreturn]] void refuseOption(const QString& name) const
    {
        const QStringList known = optionNames(command);
        const QString meant = CommandLine::nearest(name, known);
        QString expected = known.isEmpty() ? QString("no options") : known.join(", ");
        if (known.size() > 1)
            expected.prepend("one of ");
        if (!meant.isEmpty())
            expected += QString("; the nearest is %1").arg(meant);
        throw UsageError(QString("found the option %1; expected %2").arg(name, expected));
    }

    const Command& command;
    const QStringList& arguments;
    int pos = 0;
    bool areOptionsOver = false;
    Arguments result;
};

QString optionUsage(const Option& option)
{
    if (option.count == Option::Flag)
        return option.name;
    return QString("%1 %2%3").arg(option.name, option.value,
                                  option.count == Option::Several ? "..." : "");
}

} // namespace

bool CommandLine::asksForHelp(const QStringList& arguments)
{
    for (const QString& argument : arguments) {
        if (argument == "--")
            break;
        if (argument == "--help" || argument == "-h")
            return true;
    }
    return false;
}

Arguments CommandLine::parse(const Command& command, const QStringList& arguments)
{
    return Parser(command, arguments).parse();
}

QString CommandLine::synopsis(const Command& command)
{
    QStringList parts(command.name);
    for (const Operand& operand : command.operands) {
        const bool isMany
            = operand.count == Operand::OneOrMore || operand.count == Operand::AnyNumber;
        const bool isNeeded = operand.count == Operand::One || operand.count == Operand::OneOrMore;
        const QString name = operand.name + QString(isMany ? "..." : "");
        parts.append(isNeeded ? name : '[' + name + ']');
    }
    for (const Option& option : command.options)
        parts.append('[' + optionUsage(option) + ']');
    return parts.join(' ');
}

QList<CommandLine::OptionHelp> CommandLine::optionHelps(const Command& command)
{
    QList<OptionHelp> helps;
    for (const Option& option : command.options + QList<Option>({helpOption}))
        helps.append({optionUsage(option), option.help});
    return helps;
}

QStringList CommandLine::optionLines(const Command& command)
{
    const QList<OptionHelp> helps = optionHelps(command);
    int width = 0;
    for (const OptionHelp& help : helps)
        width = std::max(width, int(help.usage.size()));
    QStringList lines;
    for (const OptionHelp& help : helps)
        lines.append(QString("  %1  %2").arg(help.usage.leftJustified(width), help.help));
    return lines;
}

CommandLine::Proposal CommandLine::proposalAfter(const Command& command, const QStringList& before)
{
    Proposal proposal = {{}, Completion::Nothing, {}};
    const Option* open = nullptr; // takes the next argument
    bool takesMore = false; // or may take it
    bool areOptionsOver = false;
    for (const QString& argument : before) {
        if (argument == "--") {
            areOptionsOver = true;
            open = nullptr;
        } else if (!areOptionsOver && isOption(argument)) {
            const Option* const option = findOption(command, argument.section('=', 0, 0));
            open = option && option->count != Option::Flag && !argument.contains('=') ? option
                                                                                      : nullptr;
            takesMore = false;
        } else if (!open) {
            proposal.operands.append(argument);
        } else if (open->count == Option::One
                   || proposal.operands.size() < neededOperands(command)) {
            open = nullptr;
        } else {
            takesMore = true;
        }
    }
    if (!areOptionsOver && (!open || takesMore))
        proposal.options = optionNames(command) + QStringList("--help");
    const int place = std::min(int(proposal.operands.size()), int(command.operands.size()) - 1);
    if (open)
        proposal.completion = open->completion;
    else if (place >= 0 && (place == int(proposal.operands.size()) || takesAnyNumber(command)))
        proposal.completion = command.operands.at(place).completion;
    return proposal;
}

QString CommandLine::nearest(const QString& text, const QStringList& known)
{
    QString best;
    int bestDistance = std::max(2, int(text.size()) / 3) + 1;
    for (const QString& name : known) {
        const int steps = distance(text, name);
        if (steps < bestDistance) {
            best = name;
            bestDistance = steps;
        }
    }
    return best;
}
