#include "ShortMemory.h"
#include "TestBuddies.h"

#include <QtTest>

#include <functional>

namespace {

/** Two groups and a meta-contact with members, all called by different names. */
class Lists
{
public:
    Lists(int size, int metas)
        : from(QStringLiteral("from"))
        , to(QStringLiteral("to"))
        , meta(QStringLiteral("meta"))
        , newcomer(makeContact(QStringLiteral("newcomer")))
        , merged(QStringLiteral("merged"), {})
        , endOfFrom(from)
        , endOfTo(to)
        , endOfMeta(meta)
    {
        for (int i = 0; i < size; ++i) {
            from.addBuddy(makeContact(QStringLiteral("from %1").arg(i)));
            to.addBuddy(makeContact(QStringLiteral("to %1").arg(i)));
            meta.addBuddy(makeContact(QStringLiteral("meta %1").arg(i)));
        }
        for (int i = 0; i < metas; ++i)
            to.addMeta(QStringLiteral("known %1").arg(i));
        // Look-ups enough for an index of each, where there is one.
        for (int i = 0; i < 20; ++i) {
            from.containsBuddy(newcomer);
            to.containsBuddy(newcomer);
            meta.containsContact(newcomer);
        }
        // With one more that an index has not met: it may have to grow within an operation.
        for (const MivoBuddyGroup& group : {from, to}) {
            const MivoBuddyContact last = makeContact(QStringLiteral("last"));
            childrenOf(group) << last;
            MivoBuddyPrivate::get(last)->setBackLink(group);
        }
        entries << newcomer << merged << childrenOf(from) << childrenOf(to) << childrenOf(meta);
    }

    /** From now on every change has to copy the list that it changes. */
    void share() { copies << childrenOf(from) << childrenOf(to) << childrenOf(meta); }

    /** The members' names, the names of addMeta() and the names that the back-links lead to. */
    QStringList state() const
    {
        QStringList lines;
        for (const MivoBuddy& container : {MivoBuddy(from), MivoBuddy(to), MivoBuddy(meta)}) {
            QStringList names(container.getDisplay() + QLatin1Char(':'));
            for (const MivoBuddy& member : membersIn(container))
                names << member.getDisplay();
            lines << names.join(QLatin1Char(' '));
        }
        lines << MivoBuddyGroupPrivate::get(to)->metas.keys();
        for (const MivoBuddy& entry : entries)
            lines << MivoBuddyPrivate::get(entry)->backLink().getDisplay();
        return lines;
    }

    /** Whether every look-up answers what the lists say. */
    bool isFound() const
    {
        for (const MivoBuddy& entry : entries) {
            if (from.containsBuddy(entry) != childrenOf(from).contains(entry)
                || to.containsBuddy(entry) != childrenOf(to).contains(entry)
                || (entry.getType() == MivoBuddy::Contact
                    && meta.containsContact(entry) != childrenOf(meta).contains(entry)))
                return false;
        }
        return true;
    }

    MivoBuddyGroup from;
    MivoBuddyGroup to;
    MivoBuddyMeta meta;
    const MivoBuddyContact newcomer;
    const MivoBuddyMerged merged;

private:
    static QList<MivoBuddy> membersIn(const MivoBuddy& container)
    {
        return container.getType() == MivoBuddy::Group ? childrenOf(MivoBuddyGroup(container))
                                                       : childrenOf(MivoBuddyMeta(container));
    }

    QList<MivoBuddy> entries;
    QList<QList<MivoBuddy>> copies;
    const CycleBreaker<MivoBuddyGroup> endOfFrom;
    const CycleBreaker<MivoBuddyGroup> endOfTo;
    const CycleBreaker<MivoBuddyMeta> endOfMeta;
};

/** Answers whether it has done what it does. */
using Operation = bool (*)(Lists& lists);

struct Case
{
    Case(Operation testedOperation, int membersOfEach, int metasByName, bool areShared)
        : operation(testedOperation)
        , size(membersOfEach)
        , metas(metasByName)
        , shared(areShared)
    {
        const std::unique_ptr<Lists> expected = lists();
        before = expected->state();
        [&] { QVERIFY(operation(*expected)); }();
        after = expected->state();
    }

    const Operation operation;
    const int size;
    const int metas;
    const bool shared;
    QStringList before;
    QStringList after;

    std::unique_ptr<Lists> lists() const
    {
        auto made = std::make_unique<Lists>(size, metas);
        if (shared)
            made->share();
        return made;
    }
};

/**
 * The operation with so little memory either happens or throws, or says that it could not make what
 * it adds, and changes nothing. Returns whether memory was short for it.
 */
bool failsCleanly(const Case& tested, ShortMemory::Form form, qint64 amount)
{
    const std::unique_ptr<Lists> lists = tested.lists();
    bool happened = false;
    bool hasFailed = false;
    {
        const ShortMemory shortage(form, amount);
        try {
            happened = tested.operation(*lists);
        } catch (const std::bad_alloc&) {
        }
        hasFailed = shortage.hasFailed();
    }
    const QByteArray place = "with " + QByteArray::number(amount) + " to be had";
    [&] {
        QVERIFY2(happened || hasFailed, place);
        QVERIFY2(lists->state() == (happened ? tested.after : tested.before), place);
        QVERIFY2(lists->isFound(), place);
        if (!happened)
            QVERIFY2(tested.operation(*lists), place);
        QVERIFY2(lists->state() == tested.after, place);
        QVERIFY2(lists->isFound(), place);
    }();
    return hasFailed;
}

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(ShortMemory::Form)

/** When memory is short an operation happens or changes nothing. */
class tst_MivoBuddyAllocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatFindsNoMemoryChangesNothing_data();
    void whatFindsNoMemoryChangesNothing();
    void whatHasTooLittleMemoryChangesNothing_data();
    void whatHasTooLittleMemoryChangesNothing();
    void anIndexThatFindsNoMemoryIsDoneWithout();
    void clearingTakesNoMemory_data();
    void clearingTakesNoMemory();
    void askingForAllMembersTakesNoMemory();
    void aSmallMetaContactTakesLittleMemory();
};

void tst_MivoBuddyAllocation::whatFindsNoMemoryChangesNothing_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<ShortMemory::Form>("form");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("shared");
    const struct
    {
        const char* name;
        Operation operation;
    } operations[] = {
        {"add", [](Lists& lists) { return lists.to.addBuddy(lists.newcomer); }},
        {"add to a meta-contact", [](Lists& lists) { return lists.meta.addBuddy(lists.newcomer); }},
        {"add a merged contact", [](Lists& lists) { return lists.to.addBuddy(lists.merged); }},
        {"move", [](Lists& lists) { return lists.to.addBuddy(childrenOf(lists.from).at(1)); }},
        {"move to a meta-contact",
         [](Lists& lists) { return lists.meta.addBuddy(childrenOf(lists.from).at(1)); }},
        {"move from a meta-contact",
         [](Lists& lists) { return lists.to.addBuddy(childrenOf(lists.meta).at(1)); }},
        {"remove",
         [](Lists& lists) { return lists.from.removeBuddy(childrenOf(lists.from).at(1)) == 1; }},
        {"remove from a meta-contact",
         [](Lists& lists) { return lists.meta.removeBuddy(childrenOf(lists.meta).at(1)) == 1; }},
        {"take out", [](Lists& lists) { return lists.from.removeAt(1).isValid(); }},
        {"sort", [](Lists& lists) { return lists.from.sort(), true; }},
        {"add to a list whose members have been asked for",
         [](Lists& lists) {
             const QList<MivoBuddy> members = lists.to.buddies();
             return lists.to.addBuddy(lists.newcomer) && !members.contains(lists.newcomer);
         }},
    };
    const struct
    {
        const char* name;
        ShortMemory::Form form;
    } forms[] = {{"new fails once", ShortMemory::NewFails},
                 {"new fails from then on", ShortMemory::NewFailsOn},
                 {"all fails once", ShortMemory::AllFails},
                 {"all fails from then on", ShortMemory::AllFailsOn}};
    for (const auto& operation : operations) {
        for (const auto& form : forms) {
            // 85: the addition makes an index grow.
            for (const int size : {2, 64, 85}) {
                for (const bool shared : {false, true})
                    QTest::addRow("%s, %s, %d%s", operation.name, form.name, size,
                                  shared ? ", shared" : "")
                        << operation.operation << form.form << size << shared;
            }
        }
    }
}

void tst_MivoBuddyAllocation::whatFindsNoMemoryChangesNothing()
{
    QFETCH(Operation, operation);
    QFETCH(ShortMemory::Form, form);
    QFETCH(int, size);
    QFETCH(bool, shared);
    const Case tested(operation, size, 0, shared);
    for (int succeeding = 0; failsCleanly(tested, form, succeeding); ++succeeding) {
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(succeeding < 1000, "memory is short however much there is");
    }
}

void tst_MivoBuddyAllocation::whatHasTooLittleMemoryChangesNothing_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("metas");
    const auto row = [](const char* name, int size, int metas, Operation operation) {
        QTest::addRow("%s, %d members and %d by name", name, size, metas)
            << operation << size << metas;
    };
    for (const int size : {2, 64, 85}) {
        row("add", size, 0, [](Lists& lists) { return lists.to.addBuddy(lists.newcomer); });
        row("move", size, 0,
            [](Lists& lists) { return lists.to.addBuddy(childrenOf(lists.from).at(1)); });
    }
    // The first, and where a hash grows.
    for (const int metas : {0, 1, 16, 17, 48, 64, 85, 128}) {
        row("addMeta", 2, metas,
            [](Lists& lists) { return lists.to.addMeta(QStringLiteral("new")).isValid(); });
    }
}

void tst_MivoBuddyAllocation::whatHasTooLittleMemoryChangesNothing()
{
    QFETCH(Operation, operation);
    QFETCH(int, size);
    QFETCH(int, metas);
    const Case tested(operation, size, metas, true);
    const qint64 step = 64;
    qint64 bytes = 0;
    while (failsCleanly(tested, ShortMemory::Exhausted, bytes)) {
        if (QTest::currentTestFailed())
            return;
        bytes += step;
        QVERIFY2(bytes < 1000000, "memory is short however much there is");
    }
    QVERIFY(bytes > 0);
}

void tst_MivoBuddyAllocation::anIndexThatFindsNoMemoryIsDoneWithout()
{
    MivoBuddyGroup group(QStringLiteral("g"));
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact stranger = makeContact(QStringLiteral("s"));
    for (int i = 0; i < 200; ++i)
        childrenOf(group) << makeContact(QStringLiteral("c"));
    int found = 0;
    bool hasFailed = false;
    {
        const ShortMemory shortage(ShortMemory::AllFailsOn, 0);
        for (int round = 0; round < 50; ++round) {
            for (const MivoBuddy& member : std::as_const(childrenOf(group)))
                found += group.containsBuddy(member);
            found += group.containsBuddy(stranger) || group.containsContact(stranger);
        }
        hasFailed = shortage.hasFailed();
    }
    QCOMPARE(found, 50 * 200);
    QVERIFY(hasFailed);
}

void tst_MivoBuddyAllocation::clearingTakesNoMemory_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("shared");
    for (const int size : {2, 64, 85}) {
        for (const bool shared : {false, true})
            QTest::addRow("%d%s", size, shared ? ", shared" : "") << size << shared;
    }
}

void tst_MivoBuddyAllocation::clearingTakesNoMemory()
{
    QFETCH(int, size);
    QFETCH(bool, shared);
    Lists lists(size, 40);
    lists.to.addBuddy(lists.meta);
    if (shared)
        lists.share();
    const QList<MivoBuddy> before = lists.to.buddies();
    bool hasFailed = false;
    qint64 asked = 0;
    {
        const ShortMemory shortage(ShortMemory::AllFailsOn, 0);
        asked = ShortMemory::bytesAskedFor();
        lists.to.clear();
        lists.from.clear();
        asked = ShortMemory::bytesAskedFor() - asked;
        hasFailed = shortage.hasFailed();
    }
    QVERIFY(!hasFailed);
    QCOMPARE(asked, qint64(0));
    QCOMPARE(lists.to.childCount() + lists.from.childCount() + lists.meta.childCount(), 0);
    QVERIFY(!lists.to.containsMeta(QStringLiteral("known 0")));
    QVERIFY(lists.isFound());
    QCOMPARE(before.size(), size + 1 + 40 + 1);
    for (const MivoBuddy& entry : before)
        QVERIFY(!MivoBuddyPrivate::get(entry)->backLink().isValid());
}

void tst_MivoBuddyAllocation::askingForAllMembersTakesNoMemory()
{
    const Lists lists(85, 0);
    QList<MivoBuddy> members;
    qint64 asked = 0;
    {
        const ShortMemory shortage(ShortMemory::AllFailsOn, 0);
        asked = ShortMemory::bytesAskedFor();
        members = lists.to.buddies();
        members = lists.meta.buddies();
        asked = ShortMemory::bytesAskedFor() - asked;
    }
    QCOMPARE(asked, qint64(0));
    QCOMPARE(members.size(), 85);
}

void tst_MivoBuddyAllocation::aSmallMetaContactTakesLittleMemory()
{
    MivoBuddyMeta meta(QStringLiteral("m"));
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact a = makeContact(QStringLiteral("a"));
    const MivoBuddyContact b = makeContact(QStringLiteral("b"));
    const qint64 before = ShortMemory::bytesAskedFor();
    meta.addBuddy(a);
    meta.addBuddy(b);
    const bool found = meta.containsContact(b) && !meta.containsContact(MivoBuddyContact());
    const qint64 asked = ShortMemory::bytesAskedFor() - before;
    QVERIFY(found);
    // The list alone: two handles, what it keeps free, and its head.
    QVERIFY2(asked > 0 && asked <= 256, QByteArray::number(asked));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyAllocation)
#include "tst_mivobuddy_allocation.moc"
