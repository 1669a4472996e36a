#include "MivoPluginAction.h"

#include "MivoArg_p.h"
#include "MivoCallActionEvent.h"

#include <QCoreApplication>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace {

/** The action that @p arg holds; null for another kind. */
const MivoPluginAction* heldAction(const MivoArg& arg)
{
    return arg.getType() == MivoArg::PluginAction
        ? static_cast<const MivoPluginAction*>(MivoArgPrivate::get(arg)->data)
        : nullptr;
}

} // namespace

MivoPluginAction::MivoPluginAction()
    : plugin(nullptr)
    , member(nullptr)
{
}

MivoPluginAction::MivoPluginAction(MivoPlugin* boundPlugin, Member boundMember,
                                   const QList<MivoArg>& storedArguments)
    : plugin(boundPlugin)
    , member(boundMember)
    , arguments(storedArguments)
{
}

MivoPluginAction::MivoPluginAction(const MivoPluginAction&) = default;

MivoPluginAction::MivoPluginAction(MivoPluginAction&& other) noexcept
    : MivoPluginAction()
{
    swap(other);
}

MivoPluginAction::~MivoPluginAction() = default;
MivoPluginAction& MivoPluginAction::operator=(const MivoPluginAction&) = default;

MivoPluginAction& MivoPluginAction::operator=(MivoPluginAction&& other) noexcept
{
    MivoPluginAction taken(std::move(other));
    swap(taken);
    return *this;
}

bool MivoPluginAction::operator==(const MivoPluginAction& other) const
{
    // Nested actions wait to be compared: the depth of nesting is the caller's, the stack is not.
    typedef std::pair<const MivoPluginAction*, const MivoPluginAction*> Pair;
    std::vector<Pair> waiting;
    const auto isEqualOrWaits = [&waiting](const MivoArg& a, const MivoArg& b) {
        const MivoPluginAction* const actionA = heldAction(a);
        const MivoPluginAction* const actionB = heldAction(b);
        if (!actionA || !actionB)
            return a == b;
        try {
            waiting.push_back(Pair(actionA, actionB));
            return true;
        } catch (const std::bad_alloc&) {
            return *actionA == *actionB;
        }
    };

    Pair next(this, &other);
    for (;;) {
        const MivoPluginAction& a = *next.first;
        const MivoPluginAction& b = *next.second;
        if (a.plugin != b.plugin || a.member != b.member)
            return false;
        const QList<MivoArg>& listA = a.arguments;
        const QList<MivoArg>& listB = b.arguments;
        if (listA.size() != listB.size())
            return false;
        // Two handles of one list are equal, whatever it holds.
        if (listA.constBegin() != listB.constBegin()
            && !std::equal(listA.constBegin(), listA.constEnd(), listB.constBegin(),
                           isEqualOrWaits))
            return false;
        if (waiting.empty())
            return true;
        next = waiting.back();
        waiting.pop_back();
    }
}

bool MivoPluginAction::operator!=(const MivoPluginAction& other) const
{
    return !(*this == other);
}

bool MivoPluginAction::isValid() const
{
    return plugin && member;
}

QList<MivoArg> MivoPluginAction::getActionData() const
{
    return arguments;
}

void MivoPluginAction::operator()(QList<MivoArg>& callArguments)
{
    if (!isValid())
        return;
    if (callArguments.isEmpty())
        callArguments = arguments;
    post(callArguments);
}

void MivoPluginAction::operator()()
{
    if (isValid())
        post(arguments);
}

void MivoPluginAction::post(const QList<MivoArg>& callArguments) const
{
    QCoreApplication::postEvent(MivoCallActionEvent::dispatcher,
                                new MivoCallActionEvent(plugin, member, callArguments));
}

void MivoPluginAction::swap(MivoPluginAction& other) noexcept
{
    std::swap(plugin, other.plugin);
    std::swap(member, other.member);
    arguments.swap(other.arguments);
}
