#include "Proposals.h"

#include "Commands.h"
#include "ValueText.h"

#include <algorithm>

namespace {

/** The slots of a plug-in; none when it cannot be loaded. */
QStringList slotsOf(const QString& file, bool areActions)
{
    try {
        Session session;
        const MivoPlugin* const plugin = session.load(file);
        return areActions ? plugin->actionSlots() : plugin->callSlots();
    } catch (const std::exception&) {
        return QStringList();
    }
}

QStringList argumentsFor(const CommandLine::Proposal& proposal)
{
    switch (proposal.completion) {
    case Completion::Nothing:
    case Completion::Plugins: // none run yet
        return QStringList();
    case Completion::Files:
        return {":files"};
    case Completion::PluginFiles:
        return {":plugins"};
    case Completion::CallSlots:
        return slotsOf(proposal.operands.value(0), false);
    case Completion::ActionSlots:
        return slotsOf(proposal.operands.value(0), true);
    case Completion::Kinds: {
        QStringList kinds;
        const QStringList names = valueKinds();
        for (const QString& name : names)
            kinds.append(name == "none" ? name : name + ':');
        return kinds;
    }
    }
    return QStringList();
}

} // namespace

QStringList proposalsFor(const QStringList& words)
{
    const QString written = words.value(words.size() - 1);
    QStringList all;
    if (words.size() <= 1) {
        for (const Command& command : commands())
            all.append(command.name);
        all += {"--help", "--version"};
    } else {
        const auto command
            = std::find_if(commands().begin(), commands().end(),
                           [&](const Command& candidate) { return words.at(0) == candidate.name; });
        if (command == commands().end())
            return QStringList();
        const CommandLine::Proposal proposal
            = CommandLine::proposalAfter(*command, words.mid(1, words.size() - 2));
        all = written.startsWith('-') ? proposal.options : argumentsFor(proposal);
    }
    QStringList fitting;
    for (const QString& candidate : all) {
        if (candidate.startsWith(written) || candidate.startsWith(':'))
            fitting.append(candidate);
    }
    return fitting;
}
