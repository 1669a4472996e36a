#include "TestBuddies.h"

#include <QtTest>

#include <rapidcheck.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <ostream>

namespace {

/** The block that is kept when it is freed, for the next record, and whether it was. */
void* reusedBlock = nullptr;
bool isFree = false;

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (isFree && size == sizeof(MivoBuddyPrivate)) {
        isFree = false;
        return reusedBlock;
    }
    return std::malloc(size ? size : 1);
}

void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    if (memory && memory == reusedBlock)
        isFree = true;
    else
        std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

/** More than are walked through. */
const int many = 200;

/** A group of that many contacts, which has been asked until it has an index, if it gets one. */
class FilledGroup
{
public:
    explicit FilledGroup(int size)
        : group("g")
        , end(group)
    {
        for (int i = 0; i < size; ++i)
            group.addBuddy(makeContact("c"));
        for (int i = 0; i < 20; ++i)
            group.containsBuddy(MivoBuddy());
    }

    QList<MivoBuddy>& members() const { return childrenOf(group); }

    MivoBuddyGroup group;

private:
    const CycleBreaker<MivoBuddyGroup> end;
};

/** Whether the group finds all of its members, and no other. */
bool agreesWithItsList(const MivoBuddyGroup& group, const QList<MivoBuddy>& others)
{
    const QList<MivoBuddy> members = childrenOf(group);
    for (const MivoBuddy& entry : members + others) {
        const bool isMember = members.contains(entry);
        if (group.containsBuddy(entry) != isMember)
            return false;
        if (entry.getType() == MivoBuddy::Contact && group.containsContact(entry) != isMember)
            return false;
    }
    return true;
}

enum Operation {
    Add,
    Remove,
    TakeOut,
    Sort,
    HostAppends,
    HostPrepends,
    HostRemoves,
    HostExchanges,
    HostClears,
    LookUp,
    OperationCount
};

struct Step
{
    int operation;
    int number;
};

std::ostream& operator<<(std::ostream& stream, const Step& step)
{
    static const char* const names[]
        = {"add",          "remove",      "takeOut",       "sort",       "hostAppends",
           "hostPrepends", "hostRemoves", "hostExchanges", "hostClears", "lookUp"};
    return stream << names[step.operation] << '(' << step.number << ')';
}

/** The list that a naive program would keep, and what is done to it. */
class Bench
{
public:
    explicit Bench(int size)
        : filled(size)
        , model(filled.members())
    {
        inMerged = makeContact("m");
    }

    void run(const Step& step)
    {
        MivoBuddyGroup& group = filled.group;
        QList<MivoBuddy>& members = filled.members();
        const int i = model.isEmpty() ? 0 : step.number % int(model.size());
        const MivoBuddy member = model.value(i);
        const MivoBuddy fresh = makeFresh(step.number);
        switch (step.operation) {
        case Add:
            RC_ASSERT(group.addBuddy(fresh));
            RC_ASSERT(!group.addBuddy(fresh));
            model << fresh;
            break;
        case Remove:
            RC_ASSERT(group.removeBuddy(member) == (model.isEmpty() ? 0 : 1));
            model.removeAll(member);
            gone << member;
            break;
        case TakeOut:
            RC_ASSERT(group.removeAt(i) == member);
            model.removeAll(member);
            gone << member;
            break;
        case Sort:
            group.sort();
            std::reverse(model.begin(), model.end());
            break;
        case HostAppends:
            members << fresh;
            model << fresh;
            break;
        case HostPrepends:
            members.prepend(fresh);
            model.prepend(fresh);
            break;
        case HostRemoves:
            members.removeAll(member);
            model.removeAll(member);
            gone << member;
            break;
        case HostExchanges: {
            const int other = model.isEmpty() ? 0 : step.number / 7 % int(model.size());
            if (!model.isEmpty()) {
                members.swapItemsAt(i, other);
                model.swapItemsAt(i, other);
            }
            break;
        }
        case HostClears:
            if (step.number % 16 == 0) {
                members.clear();
                model.clear();
            }
            break;
        case LookUp:
            break;
        }
        RC_ASSERT(members == model);
        for (int look = 0; look < step.number % 4; ++look)
            compare(step.number + look);
    }

    void compareAll() { RC_ASSERT(agreesWithItsList(filled.group, gone)); }

private:
    MivoBuddy makeFresh(int number)
    {
        if (number % 5)
            return makeContact("c");
        return number % 2 ? MivoBuddy(makeMerged({inMerged})) : MivoBuddyMeta("m");
    }

    void compare(int number)
    {
        const QList<MivoBuddy> all = model + gone;
        const MivoBuddy entry = all.value(all.isEmpty() ? 0 : number % int(all.size()));
        RC_ASSERT(filled.group.containsBuddy(entry) == model.contains(entry));
        const bool hasMerged
            = std::any_of(model.cbegin(), model.cend(), [](const MivoBuddy& member) {
                  return member.getType() == MivoBuddy::Merged;
              });
        RC_ASSERT(filled.group.containsContact(inMerged) == hasMerged);
    }

    FilledGroup filled;
    QList<MivoBuddy> model;
    QList<MivoBuddy> gone;
    MivoBuddyContact inMerged;
};

} // namespace

namespace rc {

template <>
struct Arbitrary<Step>
{
    static Gen<Step> arbitrary()
    {
        return gen::build<Step>(
            gen::set(&Step::operation,
                     gen::weightedOneOf<int>({{4, gen::just(int(Add))},
                                              {3, gen::just(int(Remove))},
                                              {3, gen::just(int(HostAppends))},
                                              {9, gen::inRange(0, int(OperationCount))}})),
            gen::set(&Step::number, gen::inRange(0, 10000)));
    }
};

} // namespace rc

/** Look-ups answer what the list says, whoever has changed it. */
class tst_MivoBuddyIndex : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void anEntryInAnothersPlaceIsFoundInAShortList_data();
    void anEntryInAnothersPlaceIsFoundInAShortList();
    void whatLeftALongListUnnoticedIsNotFound();
    void whatWasExchangedInALongListIsFound();
    void whatWasAppendedAndExchangedInALongListIsFound();
    void aNewEntryAtTheAddressOfAFreedOneIsTaken();
    void whatAHostAppendedIsFoundAfterSorting_data();
    void whatAHostAppendedIsFoundAfterSorting();
    void whatAHostAppendedIsFoundAfterAddMeta_data();
    void whatAHostAppendedIsFoundAfterAddMeta();
    void allOccurrencesInALongListAreRemoved();
    void anInvalidEntryIsFoundWhereAHostPutIt();
    void membersAreHeldByTheListAlone();
    void everySequenceOfChangesAgreesWithTheList();
};

void tst_MivoBuddyIndex::initTestCase()
{
    if (!qEnvironmentVariableIsSet("RC_PARAMS"))
        qputenv("RC_PARAMS", "max_success=1000 max_size=120");
}

void tst_MivoBuddyIndex::anEntryInAnothersPlaceIsFoundInAShortList_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {3, 10, 64})
        QTest::addRow("%d", size) << size;
}

void tst_MivoBuddyIndex::anEntryInAnothersPlaceIsFoundInAShortList()
{
    QFETCH(int, size);
    FilledGroup filled(size);
    const int middle = size / 2;
    const MivoBuddyContact old = filled.members().at(middle);
    const MivoBuddyContact contact = makeContact("d");
    filled.members()[middle] = contact;
    QVERIFY(filled.group.containsBuddy(contact));
    QVERIFY(filled.group.containsContact(contact));
    QVERIFY(!filled.group.containsBuddy(old));
    QVERIFY(!filled.group.containsContact(old));
    QVERIFY(!filled.group.addBuddy(contact));
    QVERIFY(filled.group.addBuddy(old));
    QVERIFY(!filled.group.addBuddy(old));
    QCOMPARE(filled.group.childCount(), size + 1);
    QCOMPARE(filled.group.removeBuddy(contact), 1);
    QCOMPARE(filled.group.childCount(), size);
}

void tst_MivoBuddyIndex::whatLeftALongListUnnoticedIsNotFound()
{
    FilledGroup filled(many);
    const MivoBuddyContact old = filled.members().at(many / 2);
    filled.members()[many / 2] = makeContact("d");
    QVERIFY(!filled.group.containsBuddy(old));
    QVERIFY(!filled.group.containsContact(old));
    QVERIFY(agreesWithItsList(filled.group, {old}));
    QVERIFY(filled.group.addBuddy(old));
    QVERIFY(filled.group.containsBuddy(old));
}

void tst_MivoBuddyIndex::whatWasExchangedInALongListIsFound()
{
    FilledGroup filled(many);
    filled.members().swapItemsAt(10, many - 10);
    filled.members().move(20, many / 2);
    QVERIFY(agreesWithItsList(filled.group, {makeContact("d")}));
    const MivoBuddy member = filled.members().at(10);
    QVERIFY(!filled.group.addBuddy(member));
    QCOMPARE(filled.group.removeBuddy(member), 1);
    QVERIFY(!filled.members().contains(member));
    QVERIFY(agreesWithItsList(filled.group, {member}));
}

void tst_MivoBuddyIndex::whatWasAppendedAndExchangedInALongListIsFound()
{
    FilledGroup filled(many);
    QVERIFY(agreesWithItsList(filled.group, {makeContact("d")})); // an index is there
    const MivoBuddyContact fresh = makeContact("e");
    filled.members() << fresh;
    filled.members().swapItemsAt(many / 2, many);
    QVERIFY(filled.group.containsBuddy(fresh));
    QVERIFY(!filled.group.addBuddy(fresh));
    QVERIFY(agreesWithItsList(filled.group, {}));
}

void tst_MivoBuddyIndex::aNewEntryAtTheAddressOfAFreedOneIsTaken()
{
    FilledGroup filled(many);
    const MivoBuddyContact other = makeContact("d");
    reusedBlock = MivoBuddyPrivate::get(filled.members().at(many / 2));
    filled.members()[many / 2] = other; // the last handle goes
    QVERIFY(isFree);
    const MivoBuddyContact contact = makeContact("e");
    QVERIFY(MivoBuddyPrivate::get(contact) == reusedBlock);
    reusedBlock = nullptr;
    QVERIFY(!filled.group.containsBuddy(contact));
    QVERIFY(filled.group.addBuddy(contact));
    QVERIFY(filled.group.containsBuddy(contact));
    QCOMPARE(filled.group.childCount(), many + 1);
}

void tst_MivoBuddyIndex::whatAHostAppendedIsFoundAfterSorting_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {2, 64, 65, many})
        QTest::addRow("%d", size) << size;
}

void tst_MivoBuddyIndex::whatAHostAppendedIsFoundAfterSorting()
{
    QFETCH(int, size);
    FilledGroup filled(size);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    filled.members() << a << b;
    filled.group.sort();
    QVERIFY(filled.group.containsBuddy(a));
    QVERIFY(filled.group.containsContact(b));
    filled.members() << makeContact("c");
    filled.group.sort();
    QVERIFY(agreesWithItsList(filled.group, {}));
}

void tst_MivoBuddyIndex::whatAHostAppendedIsFoundAfterAddMeta_data()
{
    whatAHostAppendedIsFoundAfterSorting_data();
}

void tst_MivoBuddyIndex::whatAHostAppendedIsFoundAfterAddMeta()
{
    QFETCH(int, size);
    FilledGroup filled(size);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    filled.members() << a << b;
    const MivoBuddyMeta meta = filled.group.addMeta("m");
    QVERIFY(filled.group.containsBuddy(meta));
    QVERIFY(filled.group.containsBuddy(a));
    QVERIFY(filled.group.containsContact(b));
    QVERIFY(!filled.group.addBuddy(a));
    QVERIFY(agreesWithItsList(filled.group, {}));
}

void tst_MivoBuddyIndex::allOccurrencesInALongListAreRemoved()
{
    FilledGroup filled(many);
    const MivoBuddy member = filled.members().at(many / 2);
    const MivoBuddy other = filled.members().at(many / 3);
    filled.members() << member << makeContact("d") << member;
    QVERIFY(filled.group.containsBuddy(member));
    QCOMPARE(filled.group.removeBuddy(member), 3);
    QVERIFY(!filled.members().contains(member));
    QCOMPARE(filled.group.childCount(), many);
    filled.members() << other;
    QVERIFY(filled.group.removeAt(many / 3) == other);
    QVERIFY(filled.group.containsBuddy(other));
    QVERIFY(agreesWithItsList(filled.group, {member}));
    MivoBuddyPrivate::get(other)->setBackLink(MivoBuddy());
}

void tst_MivoBuddyIndex::anInvalidEntryIsFoundWhereAHostPutIt()
{
    for (const int size : {3, many}) {
        FilledGroup filled(size);
        QVERIFY(!filled.group.containsBuddy(MivoBuddy()));
        filled.members() << MivoBuddy();
        QVERIFY(filled.group.containsBuddy(MivoBuddy()));
        QVERIFY(!filled.group.containsContact(MivoBuddyContact()));
        QVERIFY(agreesWithItsList(filled.group, {makeContact("d")}));
        QCOMPARE(filled.group.removeBuddy(MivoBuddy()), 1);
        QVERIFY(!filled.group.containsBuddy(MivoBuddy()));
    }
}

void tst_MivoBuddyIndex::membersAreHeldByTheListAlone()
{
    FilledGroup filled(many);
    for (const MivoBuddy& member : std::as_const(filled.members()))
        QCOMPARE(handlesOf(member), 1);
    const Witness name("witness");
    filled.members() << makeContact(name.name());
    QVERIFY(agreesWithItsList(filled.group, {}));
    filled.members().removeLast();
    QVERIFY(!name.sees());
}

void tst_MivoBuddyIndex::everySequenceOfChangesAgreesWithTheList()
{
    QVERIFY(rc::check([](const std::vector<Step>& steps) {
        Bench bench(*rc::gen::element(0, 60, 68, 90, 150));
        for (const Step& step : steps)
            bench.run(step);
        bench.compareAll();
    }));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyIndex)
#include "tst_mivobuddy_index.moc"
