#include "Background.h"
#include "TestBuddies.h"

#include <QtTest>

namespace {

using Operation = void (*)(MivoBuddyMeta& meta);
/** Answers whether what it found is right. */
using LookUp = bool (*)(MivoBuddyMeta& meta);

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(LookUp)

class tst_MivoBuddyMeta : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInvalidMetaContactAnswersDefaults();
    void changingAnInvalidMetaContactDoesNothing();
    void aNewMetaContactIsEmptyAndInNoGroup();
    void expandedIsSeenThroughEveryHandle();
    void contactsAndMergedContactsAreTaken_data();
    void contactsAndMergedContactsAreTaken();
    void everythingElseIsRefused_data();
    void everythingElseIsRefused();
    void addingTwiceIsRefused();
    void aContactLeavesItsOldContainer();
    void removingAnswersHowManyWereRemoved();
    void takingOutByIndexAnswersTheMember();
    void anIndexOutOfRangeIsInvalid();
    void contactsAreFoundInMergedContacts();
    void allMembersAreAnsweredAsTheyAreAtThatMoment();
    void clearingTakesOutAllMembersAndStaysInTheGroup();
    void sortingReversesTheMembers();
    void whatAHostDoesToTheListIsNoticed();
    void aMergedContactThatAHostAppendedIsLookedIntoAtOnce();
    void everyLockedOperationWaitsForTheLock_data();
    void everyLockedOperationWaitsForTheLock();
    void theLookUpsDoNotWaitForTheLock_data();
    void theLookUpsDoNotWaitForTheLock();
};

void tst_MivoBuddyMeta::anInvalidMetaContactAnswersDefaults()
{
    const MivoBuddyMeta meta(makeContact("no meta-contact"));
    QVERIFY(!meta.isValid());
    QVERIFY(!meta.containsContact(MivoBuddyContact()));
    QVERIFY(!meta.isExpanded());
    QVERIFY(!meta.getGroup().isValid());
    QVERIFY(!meta.buddyAt(0).isValid());
    QCOMPARE(meta.childCount(), -1);
    QVERIFY(meta.buddies().isEmpty());
}

void tst_MivoBuddyMeta::changingAnInvalidMetaContactDoesNothing()
{
    MivoBuddyMeta meta;
    const MivoBuddyContact contact = makeContact("a");
    QVERIFY(!meta.addBuddy(contact));
    QCOMPARE(meta.removeBuddy(contact), -1);
    QVERIFY(!meta.removeAt(0).isValid());
    meta.setExpanded(true);
    meta.sort();
    meta.clear();
    QVERIFY(!meta.isExpanded());
    QVERIFY(!contact.getParent().isValid());
}

void tst_MivoBuddyMeta::aNewMetaContactIsEmptyAndInNoGroup()
{
    const MivoBuddyMeta meta("Ann");
    QVERIFY(meta.isValid());
    QCOMPARE(meta.getType(), MivoBuddy::Meta);
    QCOMPARE(meta.getDisplay(), QString("Ann"));
    QVERIFY(!meta.getGroup().isValid());
    QCOMPARE(meta.childCount(), 0);
    QVERIFY(!meta.isExpanded());
}

void tst_MivoBuddyMeta::expandedIsSeenThroughEveryHandle()
{
    MivoBuddyMeta meta("Ann");
    const MivoBuddyMeta copy(meta);
    meta.setExpanded(true);
    QVERIFY(copy.isExpanded());
    meta.setExpanded(false);
    QVERIFY(!copy.isExpanded());
}

void tst_MivoBuddyMeta::contactsAndMergedContactsAreTaken_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {3, 4, 9, -1})
        QTest::addRow("%d", kind) << kind;
}

void tst_MivoBuddyMeta::contactsAndMergedContactsAreTaken()
{
    QFETCH(int, kind);
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddy taken = kind == 3 ? MivoBuddy(makeContact("c"))
        : kind == 4                   ? MivoBuddy(makeMerged())
                                      : MivoBuddy("x", MivoBuddy::Type(kind));
    QVERIFY(meta.addBuddy(taken));
    QCOMPARE(membersOf(meta), QList<MivoBuddy>() << taken);
    if (kind == 3)
        QVERIFY(MivoBuddyContact(taken).getParent() == meta);
    if (kind == 4)
        QVERIFY(MivoBuddyMerged(taken).getParent() == meta);
}

void tst_MivoBuddyMeta::everythingElseIsRefused_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("invalid") << 0;
    QTest::newRow("group") << 1;
    QTest::newRow("meta-contact") << 2;
    QTest::newRow("itself") << 3;
    QTest::newRow("temporary contact") << 5;
    QTest::newRow("Other") << 6;
}

void tst_MivoBuddyMeta::everythingElseIsRefused()
{
    QFETCH(int, kind);
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyTemporary temporary = makeTemporary("t");
    const MivoBuddyMeta otherMeta("n");
    const MivoBuddy refused = kind == 1 ? MivoBuddy(MivoBuddyGroup("g"))
        : kind == 2                     ? MivoBuddy(otherMeta)
        : kind == 3                     ? MivoBuddy(meta)
        : kind == 5                     ? MivoBuddy(temporary)
        : kind == 6                     ? MivoBuddy("o", MivoBuddy::Other)
                                        : MivoBuddy();
    QVERIFY(!meta.addBuddy(refused));
    QCOMPARE(meta.childCount(), 0);
    QVERIFY(!temporary.getGroup().isValid());
    QVERIFY(!otherMeta.getGroup().isValid());
}

void tst_MivoBuddyMeta::addingTwiceIsRefused()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact contact = makeContact("c");
    QVERIFY(meta.addBuddy(contact));
    QVERIFY(!meta.addBuddy(contact));
    QCOMPARE(meta.childCount(), 1);
}

void tst_MivoBuddyMeta::aContactLeavesItsOldContainer()
{
    MivoBuddyMeta a("a");
    MivoBuddyMeta b("b");
    const CycleBreaker<MivoBuddyMeta> endOfA(a);
    const CycleBreaker<MivoBuddyMeta> endOfB(b);
    const MivoBuddyContact contact = makeContact("c");
    const MivoBuddyMerged merged = makeMerged();
    a.addBuddy(contact);
    a.addBuddy(merged);
    QVERIFY(b.addBuddy(contact));
    QVERIFY(b.addBuddy(merged));
    QCOMPARE(membersOf(a), QList<MivoBuddy>() << merged);
    QCOMPARE(membersOf(b), QList<MivoBuddy>() << contact << merged);
    QVERIFY(contact.getParent() == b);
    QVERIFY(merged.getParent() == b);
}

void tst_MivoBuddyMeta::removingAnswersHowManyWereRemoved()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    QCOMPARE(meta.removeBuddy(a), 0);
    meta.addBuddy(a);
    meta.addBuddy(b);
    childrenOf(meta) << a;
    QCOMPARE(meta.removeBuddy(a), 2);
    QCOMPARE(meta.removeBuddy(a), 0);
    QCOMPARE(membersOf(meta), QList<MivoBuddy>() << b);
    QVERIFY(a.getParent() == meta);
    MivoBuddyContactPrivate::get(a)->parent = MivoBuddy();
}

void tst_MivoBuddyMeta::takingOutByIndexAnswersTheMember()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    meta.addBuddy(a);
    meta.addBuddy(b);
    QVERIFY(meta.buddyAt(0) == a);
    QVERIFY(meta.removeAt(0) == a);
    QCOMPARE(membersOf(meta), QList<MivoBuddy>() << b);
    QVERIFY(a.getParent() == meta);
    QVERIFY(meta.addBuddy(a));
    QCOMPARE(membersOf(meta), QList<MivoBuddy>() << b << a);
}

void tst_MivoBuddyMeta::anIndexOutOfRangeIsInvalid()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    meta.addBuddy(makeContact("a"));
    for (const int index : {-1, 1, 2}) {
        QVERIFY(!meta.buddyAt(index).isValid());
        QVERIFY(!meta.removeAt(index).isValid());
    }
    QCOMPARE(meta.childCount(), 1);
}

void tst_MivoBuddyMeta::contactsAreFoundInMergedContacts()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact direct = makeContact("a");
    const MivoBuddyContact inMerged = makeContact("b");
    meta.addBuddy(direct);
    QVERIFY(!meta.containsContact(inMerged));
    const MivoBuddyMerged merged = makeMerged(QList<MivoBuddyContact>() << inMerged);
    meta.addBuddy(merged);
    QVERIFY(meta.containsContact(direct));
    QVERIFY(meta.containsContact(inMerged));
    QVERIFY(!meta.containsContact(makeContact("a")));
    meta.removeAt(1);
    QVERIFY(!meta.containsContact(inMerged));
    MivoBuddyMergedPrivate::get(merged)->parent = MivoBuddy();
}

void tst_MivoBuddyMeta::allMembersAreAnsweredAsTheyAreAtThatMoment()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyMerged b = makeMerged();
    meta.addBuddy(a);
    meta.addBuddy(b);
    const QList<MivoBuddy> before = meta.buddies();
    meta.sort();
    meta.removeBuddy(a);
    QCOMPARE(before, QList<MivoBuddy>() << a << b);
    QCOMPARE(meta.buddies(), QList<MivoBuddy>() << b);
}

void tst_MivoBuddyMeta::clearingTakesOutAllMembersAndStaysInTheGroup()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    MivoBuddyContact moved = makeContact("moved");
    const MivoBuddyContact contact = makeContact("a");
    const MivoBuddyMerged merged = makeMerged();
    meta.addBuddy(moved);
    meta.addBuddy(contact);
    meta.addBuddy(merged);
    meta.removeBuddy(moved); // its back-link stays, as it is no member any more
    meta.clear();
    QCOMPARE(meta.childCount(), 0);
    QVERIFY(!contact.getParent().isValid());
    QVERIFY(!merged.getParent().isValid());
    QVERIFY(moved.getParent() == meta);
    QVERIFY(meta.getGroup() == group);
    QVERIFY(group.containsMeta("m"));
    QVERIFY(meta.addBuddy(contact));
}

void tst_MivoBuddyMeta::sortingReversesTheMembers()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    QList<MivoBuddy> members;
    for (int i = 0; i < 5; ++i) {
        members << makeContact(QString::number(i));
        meta.addBuddy(members.last());
    }
    meta.sort();
    QCOMPARE(membersOf(meta), QList<MivoBuddy>(members.rbegin(), members.rend()));
    meta.sort();
    QCOMPARE(membersOf(meta), members);
}

void tst_MivoBuddyMeta::whatAHostDoesToTheListIsNoticed()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact inMerged = makeContact("b");
    meta.addBuddy(a);
    childrenOf(meta) << makeMerged(QList<MivoBuddyContact>() << inMerged);
    QVERIFY(meta.containsContact(inMerged));
    childrenOf(meta).removeFirst();
    QVERIFY(!meta.containsContact(a));
    QVERIFY(meta.addBuddy(a));
}

void tst_MivoBuddyMeta::aMergedContactThatAHostAppendedIsLookedIntoAtOnce()
{
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    meta.addBuddy(makeContact("a"));
    QVERIFY(!meta.containsContact(MivoBuddyContact()));
    childrenOf(meta) << makeMerged(QList<MivoBuddyContact>() << MivoBuddyContact());
    QVERIFY(meta.containsContact(MivoBuddyContact()));
}

void tst_MivoBuddyMeta::everyLockedOperationWaitsForTheLock_data()
{
    QTest::addColumn<Operation>("operation");
    const auto row
        = [](const char* name, Operation operation) { QTest::newRow(name) << operation; };
    row("childCount", [](MivoBuddyMeta& meta) { meta.childCount(); });
    row("buddyAt", [](MivoBuddyMeta& meta) { meta.buddyAt(0); });
    row("addBuddy, contact", [](MivoBuddyMeta& meta) { meta.addBuddy(makeContact("b")); });
    row("addBuddy, merged contact", [](MivoBuddyMeta& meta) { meta.addBuddy(makeMerged()); });
    row("addBuddy, refused", [](MivoBuddyMeta& meta) { meta.addBuddy(MivoBuddy()); });
    row("removeBuddy", [](MivoBuddyMeta& meta) { meta.removeBuddy(childrenOf(meta).at(0)); });
    row("removeBuddy, no member", [](MivoBuddyMeta& meta) { meta.removeBuddy(MivoBuddy()); });
    row("removeAt", [](MivoBuddyMeta& meta) { meta.removeAt(0); });
    row("sort", [](MivoBuddyMeta& meta) { meta.sort(); });
    row("buddies", [](MivoBuddyMeta& meta) { meta.buddies(); });
    row("clear", [](MivoBuddyMeta& meta) { meta.clear(); });
}

void tst_MivoBuddyMeta::everyLockedOperationWaitsForTheLock()
{
    QFETCH(Operation, operation);
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    const MivoBuddyContact contact = makeContact("a");
    meta.addBuddy(contact);
    QVERIFY(waitsForLock(MivoBuddyMetaPrivate::get(meta)->lock, [&] { operation(meta); }));
    MivoBuddyPrivate::get(contact)->setBackLink(MivoBuddy());
}

void tst_MivoBuddyMeta::theLookUpsDoNotWaitForTheLock_data()
{
    QTest::addColumn<LookUp>("lookUp");
    const auto row = [](const char* name, LookUp lookUp) { QTest::newRow(name) << lookUp; };
    row("containsContact, member",
        [](MivoBuddyMeta& meta) { return meta.containsContact(childrenOf(meta).at(0)); });
    row("containsContact, stranger",
        [](MivoBuddyMeta& meta) { return !meta.containsContact(makeContact("b")); });
    row("isExpanded", [](MivoBuddyMeta& meta) { return !meta.isExpanded(); });
    row("getGroup", [](MivoBuddyMeta& meta) { return !meta.getGroup().isValid(); });
}

void tst_MivoBuddyMeta::theLookUpsDoNotWaitForTheLock()
{
    QFETCH(LookUp, lookUp);
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> end(meta);
    meta.addBuddy(makeContact("a"));
    childrenOf(meta) << makeMerged();
    bool answer = false;
    QVERIFY(endsWithoutLock(MivoBuddyMetaPrivate::get(meta)->lock, [&] { answer = lookUp(meta); }));
    QVERIFY(answer);
}

QTEST_GUILESS_MAIN(tst_MivoBuddyMeta)
#include "tst_mivobuddymeta.moc"
