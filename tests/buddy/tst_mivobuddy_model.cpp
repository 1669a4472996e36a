#include "TestBuddies.h"

#include <QtTest>

#include <rapidcheck.h>

#include <map>
#include <ostream>

namespace {

enum Operation {
    Add,
    Remove,
    RemoveAt,
    AddMeta,
    Sort,
    Clear,
    HostAppends,
    HostRemoves,
    HostSetsLink,
    SetContacts,
    SetPresence,
    OperationCount
};

/** One step: an operation, the container it goes to, an entry and a number. */
struct Step
{
    int operation;
    int container;
    int entry;
    int number;
};

std::ostream& operator<<(std::ostream& stream, const Step& step)
{
    static const char* const names[]
        = {"add",         "remove",      "removeAt",     "addMeta",     "sort",       "clear",
           "hostAppends", "hostRemoves", "hostSetsLink", "setContacts", "setPresence"};
    return stream << names[step.operation] << '(' << step.container << ", " << step.entry << ", "
                  << step.number << ')';
}

const int nothing = -1;

/** An entry as a naive program would keep it: all references are numbers of other entries. */
struct ModelEntry
{
    MivoBuddy::Type type = MivoBuddy::Invalid;
    int link = nothing;
    int flag = 0;
    std::vector<int> children;
    std::vector<int> contacts;
    std::map<int, int> metas;
};

/** The rules of the contact list, written down as plainly as they can be. */
class Model
{
public:
    std::vector<ModelEntry> entries;

    bool isContainer(int e) const { return isGroup(e) || is(e, MivoBuddy::Meta); }
    bool isGroup(int e) const { return is(e, MivoBuddy::Group); }
    bool is(int e, MivoBuddy::Type type) const { return e != nothing && entries[e].type == type; }

    static bool holds(const std::vector<int>& list, int e)
    {
        return std::find(list.begin(), list.end(), e) != list.end();
    }
    static int removeAll(std::vector<int>& list, int e)
    {
        const auto end = std::remove(list.begin(), list.end(), e);
        const int removed = int(list.end() - end);
        list.erase(end, list.end());
        return removed;
    }

    bool add(int container, int e)
    {
        if (holds(entries[container].children, e))
            return false;
        switch (entries[e].type) {
        case MivoBuddy::Invalid:
        case MivoBuddy::Group:
        case MivoBuddy::Other:
            return false;
        case MivoBuddy::Meta:
        case MivoBuddy::Temporary:
            if (!isGroup(container))
                return false;
            entries[e].link = container;
            break;
        case MivoBuddy::Contact: {
            const int old = entries[e].link;
            if (old != container && isContainer(old))
                remove(old, e);
            entries[e].link = container;
            break;
        }
        case MivoBuddy::Merged:
            entries[e].link = container;
            break;
        default:
            break;
        }
        entries[container].children.push_back(e);
        return true;
    }

    int remove(int container, int e)
    {
        if (isGroup(container) && entries[e].link == container)
            entries[e].link = nothing;
        return removeAll(entries[container].children, e);
    }

    void clear(int container)
    {
        const std::vector<int> taken = std::move(entries[container].children);
        entries[container].children.clear();
        for (const int e : taken)
            unlink(e, container);
        for (const auto& meta : entries[container].metas)
            unlink(meta.second, container);
        entries[container].metas.clear();
        for (const int e : taken) {
            if (isGroup(container) && is(e, MivoBuddy::Meta) && entries[e].link == nothing)
                clear(e);
        }
    }
    void unlink(int e, int container)
    {
        if (entries[e].link == container)
            entries[e].link = nothing;
    }

    bool containsContact(int container, int contact) const
    {
        for (const int child : entries[container].children) {
            if (is(child, MivoBuddy::Contact) && child == contact)
                return true;
            if (is(child, MivoBuddy::Merged) && holds(entries[child].contacts, contact))
                return true;
            if (isGroup(container) && is(child, MivoBuddy::Meta) && containsContact(child, contact))
                return true;
        }
        return false;
    }

    template <class Counts>
    int count(int container, Counts counts) const
    {
        int result = 0;
        for (const int child : entries[container].children)
            result += is(child, MivoBuddy::Contact) && counts(entries[child].flag);
        return result;
    }

    /** All handles of the entry, that of the test included. */
    int handles(int e) const
    {
        int result = 1;
        for (const ModelEntry& entry : entries) {
            result += entry.link == e;
            result += int(std::count(entry.children.begin(), entry.children.end(), e));
            result += int(std::count(entry.contacts.begin(), entry.contacts.end(), e));
            for (const auto& meta : entry.metas)
                result += meta.second == e;
        }
        return result;
    }
};

/** The model and the library side by side. */
class Bench
{
public:
    Bench()
    {
        for (int i = 0; i < 8; ++i)
            presenceTypes[i].flag = MivoPresence::Flag(i);
        for (int i = 0; i < 3; ++i) {
            enter(MivoBuddyGroup("g"));
            enter(MivoBuddyMeta("m"));
        }
        for (int i = 0; i < 5; ++i)
            enter(makeContact("c"));
        for (int i = 0; i < 2; ++i) {
            enter(makeMerged());
            enter(makeTemporary("t"));
        }
        enter(MivoBuddy("other", MivoBuddy::Other));
        enter(MivoBuddy("unknown", MivoBuddy::Type(9)));
    }

    /** Breaks all cycles; each entry is then held by the test alone. */
    void end()
    {
        for (const MivoBuddy& buddy : buddies) {
            MivoBuddyPrivate::get(buddy)->setBackLink(MivoBuddy());
            if (MivoBuddyGroupPrivate* const group = MivoBuddyGroupPrivate::get(buddy)) {
                group->children.clear();
                group->metas.clear();
            }
            if (MivoBuddyMetaPrivate* const meta = MivoBuddyMetaPrivate::get(buddy))
                meta->children.clear();
            MivoBuddyMerged(buddy).setContacts(QList<MivoBuddyContact>());
        }
        for (const MivoBuddy& buddy : buddies)
            RC_ASSERT(handlesOf(buddy) == 1);
    }

    void run(const Step& step)
    {
        const int container = containerOf(step.container);
        const int e = step.entry % int(buddies.size());
        MivoBuddyGroup group(buddies[container]);
        MivoBuddyMeta meta(buddies[container]);
        const MivoBuddy buddy = buddies[e];
        ModelEntry& modelled = model.entries[container];
        switch (step.operation) {
        case Add:
            RC_ASSERT((group.isValid() ? group.addBuddy(buddy) : meta.addBuddy(buddy))
                      == model.add(container, e));
            break;
        case Remove:
            RC_ASSERT((group.isValid() ? group.removeBuddy(buddy) : meta.removeBuddy(buddy))
                      == model.remove(container, e));
            break;
        case RemoveAt: {
            const int i = step.number - 1;
            const MivoBuddy taken = group.isValid() ? group.removeAt(i) : meta.removeAt(i);
            if (i < 0 || i >= int(modelled.children.size())) {
                RC_ASSERT(!taken.isValid());
                break;
            }
            RC_ASSERT(taken == buddies[modelled.children[i]]);
            modelled.children.erase(modelled.children.begin() + i);
            break;
        }
        case AddMeta: {
            if (!group.isValid())
                break;
            const MivoBuddyMeta made = group.addMeta(QString::number(step.number % 3));
            const auto known = modelled.metas.find(step.number % 3);
            if (known != modelled.metas.end()) {
                RC_ASSERT(made == buddies[known->second]);
                break;
            }
            const int number = int(buddies.size());
            modelled.metas[step.number % 3] = number;
            modelled.children.push_back(number);
            enter(made);
            model.entries[number].link = container;
            break;
        }
        case Sort:
            group.sort();
            meta.sort();
            std::reverse(modelled.children.begin(), modelled.children.end());
            break;
        case Clear:
            if (step.number % 4 != 0) // seldom, so that there is something to clear
                break;
            group.clear();
            meta.clear();
            model.clear(container);
            break;
        case HostAppends:
            (group.isValid() ? childrenOf(group) : childrenOf(meta)).append(buddy);
            modelled.children.push_back(e);
            break;
        case HostRemoves:
            (group.isValid() ? childrenOf(group) : childrenOf(meta)).removeAll(buddy);
            Model::removeAll(modelled.children, e);
            break;
        case HostSetsLink: {
            const bool toNothing = step.number == 0;
            if (MivoBuddyContactPrivate* const contact = MivoBuddyContactPrivate::get(buddy)) {
                contact->parent = toNothing ? MivoBuddy() : buddies[container];
                model.entries[e].link = toNothing ? nothing : container;
            }
            break;
        }
        case SetContacts: {
            if (!model.is(e, MivoBuddy::Merged))
                break;
            QList<MivoBuddyContact> contacts;
            model.entries[e].contacts.clear();
            for (int i = 0; i < int(buddies.size()); ++i) {
                if (model.is(i, MivoBuddy::Contact) && (i + step.number) % 3 == 0) {
                    contacts << MivoBuddyContact(buddies[i]);
                    model.entries[e].contacts.push_back(i);
                }
            }
            MivoBuddyMerged(buddy).setContacts(contacts);
            break;
        }
        case SetPresence:
            if (model.is(e, MivoBuddy::Contact)) {
                MivoPresenceType& type = presenceTypes[step.number % 8];
                MivoBuddyContact(buddy).setPresence(MivoPresence(&type, ""));
                model.entries[e].flag = int(type.flag);
            }
            break;
        }
    }

    /** Asks everything that can be asked and counts the handles. */
    void compare() const
    {
        for (int e = 0; e < int(buddies.size()); ++e) {
            RC_ASSERT(handlesOf(buddies[e]) == model.handles(e));
            RC_ASSERT(linkOf(buddies[e]) == at(model.entries[e].link));
            if (model.isContainer(e))
                compareContainer(e);
        }
    }

private:
    void enter(const MivoBuddy& buddy)
    {
        buddies.push_back(buddy);
        model.entries.emplace_back();
        model.entries.back().type = buddy.getType();
    }

    int containerOf(int number) const
    {
        std::vector<int> containers;
        for (int i = 0; i < int(buddies.size()); ++i) {
            if (model.isContainer(i))
                containers.push_back(i);
        }
        return containers[number % containers.size()];
    }

    MivoBuddy at(int e) const { return e == nothing ? MivoBuddy() : buddies[e]; }

    static MivoBuddy linkOf(const MivoBuddy& buddy)
    {
        switch (buddy.getType()) {
        case MivoBuddy::Meta:
            return MivoBuddyMeta(buddy).getGroup();
        case MivoBuddy::Contact:
            return MivoBuddyContact(buddy).getParent();
        case MivoBuddy::Merged:
            return MivoBuddyMerged(buddy).getParent();
        case MivoBuddy::Temporary:
            return MivoBuddyTemporary(buddy).getGroup();
        default:
            return MivoBuddy();
        }
    }

    void compareContainer(int e) const
    {
        const ModelEntry& expected = model.entries[e];
        const int count = int(expected.children.size());
        const MivoBuddyGroup group(buddies[e]);
        const MivoBuddyMeta meta(buddies[e]);
        const bool isGroup = group.isValid();
        RC_ASSERT((isGroup ? group.childCount() : meta.childCount()) == count);
        const QList<MivoBuddy> members = isGroup ? group.buddies() : meta.buddies();
        RC_ASSERT(int(members.size()) == count);
        for (int i = 0; i < count; ++i)
            RC_ASSERT(members.at(i) == at(expected.children[i]));
        for (int i = -1; i <= count; ++i) {
            const int child = i < 0 || i == count ? nothing : expected.children[i];
            RC_ASSERT((isGroup ? group.buddyAt(i) : meta.buddyAt(i)) == at(child));
        }
        for (int other = 0; other < int(buddies.size()); ++other) {
            if (isGroup) {
                RC_ASSERT(group.containsBuddy(buddies[other])
                          == Model::holds(expected.children, other));
            }
            if (model.is(other, MivoBuddy::Contact)) {
                const MivoBuddyContact contact(buddies[other]);
                RC_ASSERT((isGroup ? group.containsContact(contact) : meta.containsContact(contact))
                          == model.containsContact(e, other));
            }
        }
        if (!isGroup)
            return;
        for (int name = 0; name < 3; ++name) {
            RC_ASSERT(group.containsMeta(QString::number(name))
                      == (expected.metas.count(name) == 1));
        }
        RC_ASSERT(group.onlineChildCount() == model.count(e, [](int flag) { return flag != 6; }));
        for (int asked = 0; asked < 8; ++asked) {
            RC_ASSERT(group.statusChildCount(MivoPresence::Flag(asked))
                      == model.count(e, [asked](int flag) { return flag == asked; }));
        }
    }

    Model model;
    std::vector<MivoBuddy> buddies;
    MivoPresenceType presenceTypes[8];
};

} // namespace

namespace rc {

template <>
struct Arbitrary<Step>
{
    static Gen<Step> arbitrary()
    {
        return gen::build<Step>(
            // Additions and removals more often than all others.
            gen::set(&Step::operation,
                     gen::weightedOneOf<int>({{3, gen::just(int(Add))},
                                              {2, gen::just(int(Remove))},
                                              {5, gen::inRange(0, int(OperationCount))}})),
            gen::set(&Step::container, gen::inRange(0, 12)),
            gen::set(&Step::entry, gen::inRange(0, 24)),
            gen::set(&Step::number, gen::inRange(0, 6)));
    }
};

} // namespace rc

/** Any sequence of operations gives what a naive model of the rules gives. */
class tst_MivoBuddyModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everySequenceOfOperationsAgreesWithTheModel();
};

void tst_MivoBuddyModel::initTestCase()
{
    if (!qEnvironmentVariableIsSet("RC_PARAMS"))
        qputenv("RC_PARAMS", "max_success=3000 max_size=120");
}

void tst_MivoBuddyModel::everySequenceOfOperationsAgreesWithTheModel()
{
    QVERIFY(rc::check([](const std::vector<Step>& steps) {
        Bench bench;
        for (const Step& step : steps) {
            bench.run(step);
            bench.compare();
        }
        bench.end();
    }));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyModel)
#include "tst_mivobuddy_model.moc"
