#include "Background.h"
#include "TestBuddies.h"
#include "TestThreads.h"

#include <QtTest>

namespace {

QMutex& lockOf(const MivoBuddy& container)
{
    return container.getType() == MivoBuddy::Group ? MivoBuddyGroupPrivate::get(container)->lock
                                                   : MivoBuddyMetaPrivate::get(container)->lock;
}

QList<MivoBuddy>& membersIn(const MivoBuddy& container)
{
    return container.getType() == MivoBuddy::Group ? childrenOf(MivoBuddyGroup(container))
                                                   : childrenOf(MivoBuddyMeta(container));
}

bool addTo(const MivoBuddy& container, const MivoBuddy& entry)
{
    return container.getType() == MivoBuddy::Group ? MivoBuddyGroup(container).addBuddy(entry)
                                                   : MivoBuddyMeta(container).addBuddy(entry);
}

bool isHeld(QMutex& lock)
{
    if (!lock.tryLock())
        return true;
    lock.unlock();
    return false;
}

/** A contact that another one has moved before main() begins. */
class EarlyMove
{
public:
    EarlyMove()
        : old("old")
        , group("group")
        , contact(makeContact("early"))
        , endOfGroup(group)
    {
        old.addBuddy(contact);
        moved = group.addBuddy(contact);
    }

    MivoBuddyGroup old;
    MivoBuddyGroup group;
    MivoBuddyContact contact;
    bool moved = false;

private:
    const CycleBreaker<MivoBuddyGroup> endOfGroup;
};

// clazy:excludeall=non-pod-global-static
const EarlyMove earlyMove; // NOLINT(bugprone-throwing-static-initialization)

} // namespace

/** Moves from one container to another, and who waits for whom meanwhile. */
class tst_MivoBuddyMoves : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWaitingMoveSleepsAndKeepsTheNewContainersLock_data();
    void aWaitingMoveSleepsAndKeepsTheNewContainersLock();
    void noOtherAdditionOvertakesAMove();
    void whatIsNoMoveWaitsForNoMove();
    void anEntryThatGetsAContainerWhileItIsAddedLeavesIt();
    void anEntryThatIsMovedWhileItsOldContainerIsWaitedForIsFetchedFromThere();
    void clearingHoldsOneLockAtATime();
    void aMetaContactThatIsAddedWhileItsGroupIsClearedKeepsItsMembers();
    void aContactThatMovesWhileItsGroupIsClearedIsKept();
    void staticObjectsMayMoveContacts();
};

void tst_MivoBuddyMoves::aWaitingMoveSleepsAndKeepsTheNewContainersLock_data()
{
    QTest::addColumn<bool>("fromMeta");
    QTest::addColumn<bool>("toMeta");
    for (const bool fromMeta : {false, true}) {
        for (const bool toMeta : {false, true})
            QTest::addRow("%s to %s", fromMeta ? "meta-contact" : "group",
                          toMeta ? "meta-contact" : "group")
                << fromMeta << toMeta;
    }
}

void tst_MivoBuddyMoves::aWaitingMoveSleepsAndKeepsTheNewContainersLock()
{
    QFETCH(bool, fromMeta);
    QFETCH(bool, toMeta);
    const MivoBuddy old = fromMeta ? MivoBuddy(MivoBuddyMeta("old")) : MivoBuddyGroup("old");
    const MivoBuddy container = toMeta ? MivoBuddy(MivoBuddyMeta("new")) : MivoBuddyGroup("new");
    const MivoBuddyContact contact = makeContact("a");
    addTo(old, contact);

    lockOf(old).lock();
    bool slept = false;
    bool heldNew = false;
    bool heldNothingElse = false;
    bool moved = false;
    {
        Background move([&] { moved = addTo(container, contact); });
        slept = move.blocks();
        heldNew = isHeld(lockOf(container));
        heldNothingElse = membersIn(old).contains(contact) && contact.getParent() == old;
        lockOf(old).unlock();
    }
    QVERIFY(slept);
    QVERIFY(heldNew);
    QVERIFY(heldNothingElse);
    QVERIFY(moved);
    QVERIFY(membersIn(old).isEmpty());
    QCOMPARE(membersIn(container), QList<MivoBuddy>() << contact);
    QVERIFY(contact.getParent() == container);
    membersIn(container).clear();
    MivoBuddyPrivate::get(contact)->setBackLink(MivoBuddy());
}

void tst_MivoBuddyMoves::noOtherAdditionOvertakesAMove()
{
    MivoBuddyGroup old("old");
    MivoBuddyGroup group("new");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");
    const MivoBuddyContact other = makeContact("b");
    old.addBuddy(contact);

    lockOf(old).lock();
    bool otherWaits = false;
    {
        Background move([&] { group.addBuddy(contact); });
        const bool slept = move.blocks();
        Background addition([&] { group.addBuddy(other); });
        otherWaits = slept && addition.blocks();
        lockOf(old).unlock();
    }
    QVERIFY(otherWaits);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << contact << other);
}

void tst_MivoBuddyMoves::whatIsNoMoveWaitsForNoMove()
{
    MivoBuddyGroup old("old");
    MivoBuddyGroup group("new");
    MivoBuddyGroup third("third");
    MivoBuddyMeta meta("meta");
    const CycleBreaker<MivoBuddyGroup> endOfGroup(group);
    const CycleBreaker<MivoBuddyGroup> endOfThird(third);
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("a");
    old.addBuddy(contact);
    third.addBuddy(makeContact("b"));

    lockOf(old).lock();
    bool ended = false;
    {
        Background move([&] { group.addBuddy(contact); });
        const bool waits = move.blocks();
        Background others([&] {
            const MivoBuddyContact own = makeContact("c");
            third.addBuddy(own);
            third.removeBuddy(own);
            third.addBuddy(own);
            third.removeAt(1);
            third.addBuddy(own); // its parent already
            third.addBuddy(makeMerged());
            third.addBuddy(meta);
            third.addMeta("m");
            third.sort();
            third.childCount();
            meta.addBuddy(makeContact("d"));
            group.containsBuddy(contact);
            old.containsContact(contact);
        });
        ended = waits && others.ends();
        lockOf(old).unlock();
    }
    QVERIFY(ended);
    QCOMPARE(third.childCount(), 5);
    QVERIFY(group.containsBuddy(contact));
}

void tst_MivoBuddyMoves::anEntryThatGetsAContainerWhileItIsAddedLeavesIt()
{
    MivoBuddyGroup old("old");
    MivoBuddyGroup group("new");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");

    lockOf(group).lock();
    bool waited = false;
    bool added = false;
    {
        Background addition([&] { added = group.addBuddy(contact); });
        waited = addition.blocks();
        old.addBuddy(contact);
        lockOf(group).unlock();
    }
    QVERIFY(waited);
    QVERIFY(added);
    QCOMPARE(old.childCount(), 0);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << contact);
    QVERIFY(contact.getParent() == group);
}

void tst_MivoBuddyMoves::anEntryThatIsMovedWhileItsOldContainerIsWaitedForIsFetchedFromThere()
{
    MivoBuddyGroup first("first");
    MivoBuddyGroup second("second");
    MivoBuddyGroup group("new");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");
    first.addBuddy(contact);

    lockOf(second).lock();
    lockOf(first).lock();
    bool waitedForFirst = false;
    bool waitedForSecond = false;
    bool keptNew = false;
    {
        Background move([&] { group.addBuddy(contact); });
        waitedForFirst = move.blocks();
        // As a host moves an entry in its records.
        childrenOf(first).clear();
        childrenOf(second) << contact;
        MivoBuddyPrivate::get(contact)->setBackLink(second);
        lockOf(first).unlock();
        // Here, the contact and the move have a handle each.
        waitedForSecond = waitUntil([&] { return handlesOf(second) == 3; }) && move.blocks();
        keptNew = isHeld(lockOf(group));
        lockOf(second).unlock();
    }
    QVERIFY(waitedForFirst);
    QVERIFY(waitedForSecond);
    QVERIFY(keptNew);
    QCOMPARE(first.childCount(), 0);
    QCOMPARE(second.childCount(), 0);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << contact);
    QVERIFY(contact.getParent() == group);
}

void tst_MivoBuddyMoves::clearingHoldsOneLockAtATime()
{
    MivoBuddyGroup group("group");
    MivoBuddyMeta metas[]
        = {group.addMeta("first"), group.addMeta("second"), group.addMeta("third")};
    for (MivoBuddyMeta& meta : metas)
        meta.addBuddy(makeContact("c"));
    const MivoBuddyContact last = makeContact("last");
    group.addBuddy(last);

    lockOf(metas[1]).lock();
    bool waits = false;
    int heldOthers = 0;
    int membersLeft = 0;
    {
        Background clearing([&] { group.clear(); });
        waits = waitUntil([&] { return membersIn(metas[0]).isEmpty(); }) && clearing.blocks();
        heldOthers = isHeld(lockOf(group)) + isHeld(lockOf(metas[0])) + isHeld(lockOf(metas[2]));
        membersLeft = int(group.buddies().size() + metas[0].buddies().size());
        // Who moves something in the meantime is not kept waiting.
        group.addBuddy(last);
        lockOf(metas[1]).unlock();
    }
    QVERIFY(waits);
    QCOMPARE(heldOthers, 0);
    QCOMPARE(membersLeft, 0);
    for (const MivoBuddyMeta& meta : metas)
        QCOMPARE(meta.childCount(), 0);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << last);
    QVERIFY(last.getParent() == group);
    group.clear();
}

void tst_MivoBuddyMoves::aMetaContactThatIsAddedWhileItsGroupIsClearedKeepsItsMembers()
{
    MivoBuddyGroup group("group");
    MivoBuddyGroup other("other");
    MivoBuddyMeta metas[] = {group.addMeta("again"), group.addMeta("elsewhere")};
    const MivoBuddyContact contacts[] = {makeContact("a"), makeContact("b")};
    const CycleBreaker<MivoBuddyGroup> ends[]
        = {CycleBreaker<MivoBuddyGroup>(group), CycleBreaker<MivoBuddyGroup>(other)};
    for (int i = 0; i < 2; ++i)
        metas[i].addBuddy(contacts[i]);

    lockOf(metas[0]).lock();
    bool waits = false;
    {
        Background clearing([&] { group.clear(); });
        waits = clearing.blocks();
        group.addBuddy(metas[0]);
        other.addBuddy(metas[1]);
        lockOf(metas[0]).unlock();
    }
    QVERIFY(waits);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << metas[0]);
    QCOMPARE(membersOf(other), QList<MivoBuddy>() << metas[1]);
    QVERIFY(metas[0].getGroup() == group);
    QVERIFY(metas[1].getGroup() == other);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(membersOf(metas[i]), QList<MivoBuddy>() << contacts[i]);
        QVERIFY(contacts[i].getParent() == metas[i]);
        metas[i].clear();
    }
}

void tst_MivoBuddyMoves::aContactThatMovesWhileItsGroupIsClearedIsKept()
{
    MivoBuddyGroup old("old");
    MivoBuddyGroup group("new");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");
    old.addBuddy(contact);
    old.addBuddy(makeContact("b"));

    lockOf(old).lock();
    bool bothWait = false;
    {
        Background move([&] { group.addBuddy(contact); });
        const bool moveWaits = move.blocks();
        Background clearing([&] { old.clear(); });
        bothWait = moveWaits && clearing.blocks();
        lockOf(old).unlock();
    }
    QVERIFY(bothWait);
    QCOMPARE(old.childCount(), 0);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << contact);
    QVERIFY(contact.getParent() == group);
}

void tst_MivoBuddyMoves::staticObjectsMayMoveContacts()
{
    QVERIFY(earlyMove.moved);
    QCOMPARE(earlyMove.old.childCount(), 0);
    QVERIFY(earlyMove.group.containsBuddy(earlyMove.contact));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyMoves)
#include "tst_mivobuddy_moves.moc"
