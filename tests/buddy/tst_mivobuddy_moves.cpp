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

void tst_MivoBuddyMoves::staticObjectsMayMoveContacts()
{
    QVERIFY(earlyMove.moved);
    QCOMPARE(earlyMove.old.childCount(), 0);
    QVERIFY(earlyMove.group.containsBuddy(earlyMove.contact));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyMoves)
#include "tst_mivobuddy_moves.moc"
