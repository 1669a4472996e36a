#include "Background.h"
#include "TestBuddies.h"
#include "TestThreads.h"

#include <QtTest>

#include <limits>
#include <map>

namespace {

using Operation = void (*)(MivoBuddyGroup& group);
/** Answers whether what it found is right. */
using LookUp = bool (*)(MivoBuddyGroup& group);

QStringList namesOf(const QList<MivoBuddy>& buddies)
{
    QStringList names;
    for (const MivoBuddy& buddy : buddies)
        names << buddy.getDisplay();
    return names;
}

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(LookUp)

class tst_MivoBuddyGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInvalidGroupAnswersDefaults();
    void changingAnInvalidGroupDoesNothing();
    void aNewGroupIsEmptyAndNotExpanded();
    void expandedIsSeenThroughEveryHandle();
    void membersStandInTheOrderOfAddition();
    void addingTwiceIsRefused();
    void whatDoesNotFitIsRefused_data();
    void whatDoesNotFitIsRefused();
    void whatFitsIsTaken_data();
    void whatFitsIsTaken();
    void aContactLeavesItsOldContainer();
    void aContactWhoseParentIsTheGroupIsTakenAgain();
    void onlyContactsLeaveTheirOldContainer();
    void anEntryOfTheOldListMayBeGivenByReference();
    void removingAnswersHowManyWereRemoved();
    void anEntryOfTheListMayBeRemovedByReference();
    void takingOutByIndexAnswersTheMember();
    void anIndexOutOfRangeIsInvalid_data();
    void anIndexOutOfRangeIsInvalid();
    void aMetaContactIsMadeOnceForAName();
    void metaContactsOfOtherOriginsAreNotKnownByName();
    void removedMetaContactsStayKnownByName();
    void onlyMembersThemselvesAreContainedAsEntries();
    void contactsAreFoundInMetaAndMergedContacts();
    void contactsAreFoundThroughAMetaContactTheyDoNotNameAsParent();
    void temporaryContactsAreNotFoundAsContacts();
    void onlyContactsAmongTheMembersAreCounted();
    void contactsAreCountedByTheirFlag_data();
    void contactsAreCountedByTheirFlag();
    void allMembersAreAnsweredAsTheyAreAtThatMoment();
    void clearingTakesOutAllMembersAndForgetsTheNames();
    void clearingEmptiesTheMetaContactsOfTheGroup();
    void clearingLeavesTheMetaContactsOfAnotherGroupAlone();
    void aGroupMayBeClearedThroughTheBackLinkOfAMember();
    void aClearedGroupIsFilledAgain();
    void sortingReversesTheMembers_data();
    void sortingReversesTheMembers();
    void whatAHostDoesToTheListIsNoticed_data();
    void whatAHostDoesToTheListIsNoticed();
    void aMergedContactThatAHostAppendedIsLookedIntoAtOnce();
    void everyLockedOperationWaitsForTheLock_data();
    void everyLockedOperationWaitsForTheLock();
    void theLookUpsDoNotWaitForTheLock_data();
    void theLookUpsDoNotWaitForTheLock();
    void theNewGroupIsLockedWhileTheOldContainerChanges_data();
    void theNewGroupIsLockedWhileTheOldContainerChanges();
};

void tst_MivoBuddyGroup::anInvalidGroupAnswersDefaults()
{
    const MivoBuddyGroup group(makeContact("no group"));
    QVERIFY(!group.isValid());
    QVERIFY(!group.containsMeta("x"));
    QVERIFY(!group.containsBuddy(MivoBuddy()));
    QVERIFY(!group.containsContact(MivoBuddyContact()));
    QVERIFY(!group.isExpanded());
    QVERIFY(!group.buddyAt(0).isValid());
    QCOMPARE(group.childCount(), -1);
    QCOMPARE(group.onlineChildCount(), -1);
    QCOMPARE(group.statusChildCount(MivoPresence::NoFlag), -1);
    QVERIFY(group.buddies().isEmpty());
}

void tst_MivoBuddyGroup::changingAnInvalidGroupDoesNothing()
{
    MivoBuddyGroup group;
    const MivoBuddyContact contact = makeContact("a");
    QVERIFY(!group.addBuddy(contact));
    QCOMPARE(group.removeBuddy(contact), -1);
    QVERIFY(!group.removeAt(0).isValid());
    QVERIFY(!group.addMeta("x").isValid());
    group.setExpanded(true);
    group.sort();
    group.clear();
    QVERIFY(!group.isExpanded());
    QVERIFY(!contact.getParent().isValid());
}

void tst_MivoBuddyGroup::aNewGroupIsEmptyAndNotExpanded()
{
    const MivoBuddyGroup group("Friends");
    QVERIFY(group.isValid());
    QCOMPARE(group.getType(), MivoBuddy::Group);
    QCOMPARE(group.getDisplay(), QString("Friends"));
    QCOMPARE(group.childCount(), 0);
    QCOMPARE(group.onlineChildCount(), 0);
    QCOMPARE(group.statusChildCount(MivoPresence::NoFlag), 0);
    QVERIFY(!group.isExpanded());
    QVERIFY(!group.buddyAt(0).isValid());
    QVERIFY(MivoBuddyGroupPrivate::get(group)->metas.isEmpty());
}

void tst_MivoBuddyGroup::expandedIsSeenThroughEveryHandle()
{
    MivoBuddyGroup group("Friends");
    const MivoBuddyGroup copy(group);
    group.setExpanded(true);
    QVERIFY(copy.isExpanded());
    group.setExpanded(false);
    QVERIFY(!copy.isExpanded());
}

void tst_MivoBuddyGroup::membersStandInTheOrderOfAddition()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const char* name : {"c", "a", "b"})
        QVERIFY(group.addBuddy(makeContact(name)));
    QCOMPARE(namesOf(membersOf(group)), QStringList({"c", "a", "b"}));
    QCOMPARE(group.childCount(), 3);
}

void tst_MivoBuddyGroup::addingTwiceIsRefused()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");
    QVERIFY(group.addBuddy(contact));
    QVERIFY(!group.addBuddy(contact));
    QCOMPARE(group.childCount(), 1);
    QVERIFY(contact.getParent() == group);
}

void tst_MivoBuddyGroup::whatDoesNotFitIsRefused_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("invalid") << 0;
    QTest::newRow("group") << 1;
    QTest::newRow("itself") << 2;
    QTest::newRow("Other") << 6;
    QTest::newRow("entry of the kind Invalid") << 7;
}

void tst_MivoBuddyGroup::whatDoesNotFitIsRefused()
{
    QFETCH(int, kind);
    MivoBuddyGroup group("g");
    const MivoBuddyContact member = makeContact("a");
    group.addBuddy(member);
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddy refused = kind == 1 ? MivoBuddy(MivoBuddyGroup("h"))
        : kind == 2                     ? MivoBuddy(group)
        : kind == 6                     ? MivoBuddy("o", MivoBuddy::Other)
        : kind == 7                     ? MivoBuddy("i", MivoBuddy::Invalid)
                                        : MivoBuddy();
    QVERIFY(!group.addBuddy(refused));
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << member);
    QVERIFY(!group.containsBuddy(refused));
}

void tst_MivoBuddyGroup::whatFitsIsTaken_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {2, 3, 4, 5, 9, -1})
        QTest::addRow("%d", kind) << kind;
}

void tst_MivoBuddyGroup::whatFitsIsTaken()
{
    QFETCH(int, kind);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddy taken = kind == 2 ? MivoBuddy(MivoBuddyMeta("m"))
        : kind == 3                   ? MivoBuddy(makeContact("c"))
        : kind == 4                   ? MivoBuddy(makeMerged())
        : kind == 5                   ? MivoBuddy(makeTemporary("t"))
                                      : MivoBuddy("x", MivoBuddy::Type(kind));
    QVERIFY(group.addBuddy(taken));
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << taken);
    QVERIFY(group.containsBuddy(taken));
    QVERIFY(!group.addBuddy(taken));
}

void tst_MivoBuddyGroup::aContactLeavesItsOldContainer()
{
    MivoBuddyGroup a("a");
    MivoBuddyGroup b("b");
    const CycleBreaker<MivoBuddyGroup> endOfA(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    MivoBuddyMeta meta = b.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("c");
    const MivoBuddyContact other = makeContact("d");
    a.addBuddy(contact);
    a.addBuddy(other);

    QVERIFY(b.addBuddy(contact));
    QCOMPARE(membersOf(a), QList<MivoBuddy>() << other);
    QCOMPARE(membersOf(b), QList<MivoBuddy>() << meta << contact);
    QVERIFY(contact.getParent() == b);

    QVERIFY(meta.addBuddy(contact));
    QCOMPARE(membersOf(b), QList<MivoBuddy>() << meta);
    QCOMPARE(membersOf(meta), QList<MivoBuddy>() << contact);
    QVERIFY(contact.getParent() == meta);

    QVERIFY(a.addBuddy(contact));
    QCOMPARE(meta.childCount(), 0);
    QCOMPARE(membersOf(a), QList<MivoBuddy>() << other << contact);
    QVERIFY(contact.getParent() == a);
}

void tst_MivoBuddyGroup::aContactWhoseParentIsTheGroupIsTakenAgain()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("c");
    group.addBuddy(contact);
    QVERIFY(group.removeAt(0) == contact);
    QVERIFY(contact.getParent() == group);
    QVERIFY(group.addBuddy(contact));
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << contact);
}

void tst_MivoBuddyGroup::onlyContactsLeaveTheirOldContainer()
{
    MivoBuddyGroup a("a");
    MivoBuddyGroup b("b");
    const CycleBreaker<MivoBuddyGroup> endOfA(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    const QList<MivoBuddy> members = QList<MivoBuddy>()
        << MivoBuddyMeta("m") << makeMerged() << makeTemporary("t");
    for (const MivoBuddy& member : members) {
        QVERIFY(a.addBuddy(member));
        QVERIFY(b.addBuddy(member));
    }
    QCOMPARE(membersOf(a), members);
    QCOMPARE(membersOf(b), members);
    QVERIFY(MivoBuddyMeta(members.at(0)).getGroup() == b);
    QVERIFY(MivoBuddyMerged(members.at(1)).getParent() == b);
    QVERIFY(MivoBuddyTemporary(members.at(2)).getGroup() == b);
}

void tst_MivoBuddyGroup::anEntryOfTheOldListMayBeGivenByReference()
{
    MivoBuddyGroup a("a");
    MivoBuddyGroup b("b");
    const CycleBreaker<MivoBuddyGroup> endOfA(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    a.addBuddy(makeContact("c"));
    a.addBuddy(makeContact("d"));
    QVERIFY(b.addBuddy(childrenOf(a).first()));
    QCOMPARE(namesOf(membersOf(a)), QStringList("d"));
    QCOMPARE(namesOf(membersOf(b)), QStringList("c"));
}

void tst_MivoBuddyGroup::removingAnswersHowManyWereRemoved()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    const MivoBuddyContact c = makeContact("c");
    QCOMPARE(group.removeBuddy(a), 0);
    QCOMPARE(group.removeBuddy(MivoBuddy()), 0);
    for (const MivoBuddyContact& contact : {a, b, c})
        group.addBuddy(contact);
    QCOMPARE(group.removeBuddy(b), 1);
    QCOMPARE(group.removeBuddy(b), 0);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << a << c);
    QVERIFY(!group.containsBuddy(b));

    childrenOf(group) << a << b << a;
    QCOMPARE(group.removeBuddy(a), 3);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << c << b);
    QVERIFY(!group.containsBuddy(a));
    QVERIFY(group.containsBuddy(b));
}

void tst_MivoBuddyGroup::anEntryOfTheListMayBeRemovedByReference()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(makeContact("a"));
    group.addBuddy(makeContact("b"));
    QCOMPARE(group.removeBuddy(childrenOf(group).first()), 1);
    QCOMPARE(namesOf(membersOf(group)), QStringList("b"));

    // What takes the place of the removed entry is of another kind.
    const MivoBuddyContact inMerged = makeContact("c");
    group.addBuddy(makeContact("d"));
    group.addBuddy(makeMerged(QList<MivoBuddyContact>() << inMerged));
    QCOMPARE(group.removeBuddy(childrenOf(group).at(1)), 1);
    QVERIFY(group.containsContact(inMerged));

    const MivoBuddyTemporary temporary = makeTemporary("t");
    group.addBuddy(temporary);
    QCOMPARE(MivoBuddyTemporaryPrivate::get(temporary)->group.removeBuddy(temporary), 1);
    QVERIFY(!temporary.getGroup().isValid());
}

void tst_MivoBuddyGroup::takingOutByIndexAnswersTheMember()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    QList<MivoBuddy> members;
    for (const char* name : {"a", "b", "c"}) {
        members << makeContact(name);
        group.addBuddy(members.last());
    }
    QVERIFY(group.buddyAt(1) == members.at(1));
    QVERIFY(group.removeAt(1) == members.at(1));
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << members.at(0) << members.at(2));
    QVERIFY(!group.containsBuddy(members.at(1)));
    QVERIFY(MivoBuddyContact(members.at(1)).getParent() == group);
    MivoBuddyContactPrivate::get(members.at(1))->parent = MivoBuddy();
}

void tst_MivoBuddyGroup::anIndexOutOfRangeIsInvalid_data()
{
    QTest::addColumn<int>("index");
    for (const int index :
         {-1, 2, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        QTest::addRow("%d", index) << index;
}

void tst_MivoBuddyGroup::anIndexOutOfRangeIsInvalid()
{
    QFETCH(int, index);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(makeContact("a"));
    group.addBuddy(makeContact("b"));
    QVERIFY(!group.buddyAt(index).isValid());
    QVERIFY(!group.removeAt(index).isValid());
    QCOMPARE(group.childCount(), 2);
}

void tst_MivoBuddyGroup::aMetaContactIsMadeOnceForAName()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta meta = group.addMeta("x");
    QVERIFY(meta.isValid());
    QCOMPARE(meta.getDisplay(), QString("x"));
    QVERIFY(meta.getGroup() == group);
    QVERIFY(group.addMeta("x") == meta);
    QCOMPARE(membersOf(group), QList<MivoBuddy>() << meta);
    QVERIFY(group.containsMeta("x"));
    QVERIFY(!group.containsMeta("X"));
    QVERIFY(group.containsBuddy(meta));
    QVERIFY(group.addMeta("y") != meta);
    QCOMPARE(group.childCount(), 2);
}

void tst_MivoBuddyGroup::metaContactsOfOtherOriginsAreNotKnownByName()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta meta("x");
    QVERIFY(group.addBuddy(meta));
    QVERIFY(!group.containsMeta("x"));
    QVERIFY(group.addMeta("x") != meta);
    QCOMPARE(group.childCount(), 2);
}

void tst_MivoBuddyGroup::removedMetaContactsStayKnownByName()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta meta = group.addMeta("x");
    QCOMPARE(group.removeBuddy(meta), 1);
    QVERIFY(!meta.getGroup().isValid());
    QVERIFY(group.containsMeta("x"));
    QVERIFY(group.addMeta("x") == meta);
    QCOMPARE(group.childCount(), 0);
    QVERIFY(!meta.getGroup().isValid());
    QVERIFY(group.addBuddy(meta));
    QVERIFY(group.removeAt(0) == meta);
    QVERIFY(group.containsMeta("x"));
}

void tst_MivoBuddyGroup::onlyMembersThemselvesAreContainedAsEntries()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("c");
    meta.addBuddy(contact);
    QVERIFY(group.containsBuddy(meta));
    QVERIFY(!group.containsBuddy(contact));
    QVERIFY(!group.containsBuddy(MivoBuddyMeta("m")));
    QVERIFY(!group.containsBuddy(MivoBuddy()));
    QVERIFY(!group.containsBuddy(group));
}

void tst_MivoBuddyGroup::contactsAreFoundInMetaAndMergedContacts()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact direct = makeContact("a");
    const MivoBuddyContact inMeta = makeContact("b");
    const MivoBuddyContact inMerged = makeContact("c");
    const MivoBuddyContact inMergedInMeta = makeContact("d");
    group.addBuddy(direct);
    QVERIFY(!group.containsContact(inMeta));
    MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    meta.addBuddy(inMeta);
    meta.addBuddy(makeMerged(QList<MivoBuddyContact>() << inMergedInMeta));
    group.addBuddy(makeMerged(QList<MivoBuddyContact>() << makeContact("x") << inMerged));
    for (const MivoBuddyContact& contact : {direct, inMeta, inMerged, inMergedInMeta})
        QVERIFY2(group.containsContact(contact), qPrintable(contact.getId()));
    QVERIFY(!group.containsContact(makeContact("a")));
    QVERIFY(!group.containsContact(MivoBuddyContact()));
    group.removeBuddy(meta);
    QVERIFY(!group.containsContact(inMeta));
    QVERIFY(!group.containsContact(inMergedInMeta));
    QVERIFY(group.containsContact(inMerged));
    MivoBuddyMetaPrivate::get(meta)->children.clear();
    MivoBuddyContactPrivate::get(inMeta)->parent = MivoBuddy();
}

void tst_MivoBuddyGroup::contactsAreFoundThroughAMetaContactTheyDoNotNameAsParent()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("c");
    meta.addBuddy(contact);
    MivoBuddyContactPrivate::get(contact)->parent = MivoBuddy();
    QVERIFY(group.containsContact(contact));
    MivoBuddyContactPrivate::get(contact)->parent = meta;
    group.removeAt(0);
    QVERIFY(!group.containsContact(contact));
    MivoBuddyMetaPrivate::get(meta)->group = MivoBuddyGroup();
}

void tst_MivoBuddyGroup::temporaryContactsAreNotFoundAsContacts()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyTemporary temporary = makeTemporary("t");
    group.addBuddy(temporary);
    QVERIFY(group.containsBuddy(temporary));
    MivoBuddyContact disguised;
    static_cast<MivoBuddy&>(disguised) = temporary;
    QVERIFY(!group.containsContact(disguised));
}

void tst_MivoBuddyGroup::onlyContactsAmongTheMembersAreCounted()
{
    MivoPresenceType online{"Online", "on", "", 1, MivoPresence::Flag(1)};
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("a", &online);
    meta.addBuddy(contact);
    group.addBuddy(makeMerged(QList<MivoBuddyContact>() << contact));
    group.addBuddy(MivoBuddyTemporary(nullptr, "t", MivoPresence(&online, ""), MivoBuddyGroup()));
    group.addBuddy(MivoBuddy("x", MivoBuddy::Type(9)));
    QVERIFY(group.containsContact(contact));
    QCOMPARE(group.onlineChildCount(), 0);
    QCOMPARE(group.statusChildCount(MivoPresence::Flag(1)), 0);
    QCOMPARE(group.statusChildCount(MivoPresence::NoFlag), 0);
    group.addBuddy(contact);
    QCOMPARE(group.onlineChildCount(), 1);
    QCOMPARE(group.statusChildCount(MivoPresence::Flag(1)), 1);
}

void tst_MivoBuddyGroup::contactsAreCountedByTheirFlag_data()
{
    QTest::addColumn<QList<int>>("flags");
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("online");
    QTest::addColumn<int>("withFlag");
    QTest::newRow("none") << QList<int>() << 6 << 0 << 0;
    QTest::newRow("all offline") << (QList<int>() << 6 << 6) << 6 << 0 << 2;
    QTest::newRow("mixed") << (QList<int>() << 1 << 6 << 2 << 1) << 1 << 3 << 2;
    QTest::newRow("without presence") << (QList<int>() << 0 << 0 << 6) << 0 << 2 << 2;
    QTest::newRow("unknown number") << (QList<int>() << -7 << 6) << -7 << 1 << 1;
}

void tst_MivoBuddyGroup::contactsAreCountedByTheirFlag()
{
    QFETCH(QList<int>, flags);
    QFETCH(int, asked);
    QFETCH(int, online);
    QFETCH(int, withFlag);
    std::map<int, MivoPresenceType> types;
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const int flag : flags) {
        types[flag].flag = MivoPresence::Flag(flag);
        group.addBuddy(makeContact("a", flag == 0 ? nullptr : &types[flag]));
    }
    QCOMPARE(group.onlineChildCount(), online);
    QCOMPARE(group.statusChildCount(MivoPresence::Flag(asked)), withFlag);
}

void tst_MivoBuddyGroup::allMembersAreAnsweredAsTheyAreAtThatMoment()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    QVERIFY(group.buddies().isEmpty());
    const MivoBuddyContact a = makeContact("a");
    group.addBuddy(a);
    const MivoBuddyMeta meta = group.addMeta("m");
    const QList<MivoBuddy> before = group.buddies();
    group.removeBuddy(a);
    group.addBuddy(makeTemporary("t"));
    group.sort();
    QCOMPARE(namesOf(before), QStringList({"a", "m"}));
    QVERIFY(before.at(0) == a);
    QVERIFY(before.at(1) == meta);
    QCOMPARE(namesOf(group.buddies()), QStringList({"t", "m"}));
}

void tst_MivoBuddyGroup::clearingTakesOutAllMembersAndForgetsTheNames()
{
    for (const int size : {1, 3, 200}) {
        MivoBuddyGroup group("g");
        QList<MivoBuddy> entries;
        for (int i = 0; i < size; ++i)
            entries << makeContact("c") << makeMerged() << makeTemporary("t") << MivoBuddyMeta("m");
        for (const MivoBuddy& entry : std::as_const(entries))
            group.addBuddy(entry);
        const MivoBuddyMeta made = group.addMeta("x");
        MivoBuddyMeta left = group.addMeta("y");
        QVERIFY(group.removeAt(group.childCount() - 1) == left); // its back-link stays
        const QList<MivoBuddy> before = group.buddies();
        group.setExpanded(true);

        group.clear();
        QCOMPARE(group.childCount(), 0);
        QVERIFY(!group.buddyAt(0).isValid());
        QVERIFY(!group.containsMeta("x"));
        QVERIFY(!group.containsMeta("y"));
        QVERIFY(group.isExpanded());
        for (const MivoBuddy& entry : std::as_const(entries)) {
            QVERIFY(!group.containsBuddy(entry));
            QVERIFY(!MivoBuddyPrivate::get(entry)->backLink().isValid());
        }
        QVERIFY(!made.getGroup().isValid());
        QVERIFY(!left.getGroup().isValid());
        QCOMPARE(handlesOf(group), 1);
        QCOMPARE(before.size(), 4 * size + 1);
        group.clear();
        QCOMPARE(group.childCount(), 0);
    }
}

void tst_MivoBuddyGroup::clearingEmptiesTheMetaContactsOfTheGroup()
{
    MivoBuddyGroup group("g");
    MivoBuddyMeta named = group.addMeta("named");
    MivoBuddyMeta added("added");
    MivoBuddyMeta unlinked("unlinked"); // a member that says it is in no group
    MivoBuddyGroup second("second");
    second.addBuddy(added);
    for (const MivoBuddyMeta& meta : {added, unlinked})
        group.addBuddy(meta);
    second.removeBuddy(added);
    MivoBuddyPrivate::get(unlinked)->setBackLink(MivoBuddy());
    const MivoBuddyMerged merged = makeMerged({makeContact("in merged")});
    QList<MivoBuddyContact> contacts;
    for (MivoBuddyMeta meta : {named, added, unlinked}) {
        contacts << makeContact("c");
        meta.addBuddy(contacts.last());
    }
    named.addBuddy(merged);

    group.clear();
    for (const MivoBuddyMeta& meta : {named, added, unlinked}) {
        QCOMPARE(meta.childCount(), 0);
        QVERIFY(!meta.getGroup().isValid());
    }
    for (const MivoBuddyContact& contact : std::as_const(contacts))
        QVERIFY(!contact.getParent().isValid());
    QVERIFY(!merged.getParent().isValid());
    QVERIFY(merged.containsContact(merged.getContactForAccount(nullptr)));
}

void tst_MivoBuddyGroup::clearingLeavesTheMetaContactsOfAnotherGroupAlone()
{
    MivoBuddyGroup group("g");
    MivoBuddyGroup other("other");
    const CycleBreaker<MivoBuddyGroup> end(other);
    MivoBuddyMeta both("both");
    const CycleBreaker<MivoBuddyMeta> endOfBoth(both);
    MivoBuddyMeta out = group.addMeta("out");
    const CycleBreaker<MivoBuddyMeta> endOfOut(out);
    const MivoBuddyContact inBoth = makeContact("a");
    const MivoBuddyContact inOut = makeContact("b");
    both.addBuddy(inBoth);
    out.addBuddy(inOut);
    group.addBuddy(both);
    other.addBuddy(both); // a member of the two, that leads to the second
    group.removeBuddy(out); // whoever takes it out has it

    group.clear();
    QCOMPARE(group.childCount(), 0);
    QVERIFY(both.getGroup() == other);
    QCOMPARE(membersOf(both), QList<MivoBuddy>() << inBoth);
    QVERIFY(inBoth.getParent() == both);
    QCOMPARE(membersOf(out), QList<MivoBuddy>() << inOut);
    QVERIFY(inOut.getParent() == out);
}

void tst_MivoBuddyGroup::aGroupMayBeClearedThroughTheBackLinkOfAMember()
{
    const Witness name("group");
    const MivoBuddyTemporary temporary = makeTemporary("t");
    const MivoBuddyContact contact = makeContact("a");
    {
        MivoBuddyGroup group(name.name());
        group.addBuddy(temporary);
        group.addBuddy(contact);
    }
    QVERIFY(name.sees());
    // The handle that is called is the last one, and the call clears it.
    MivoBuddyTemporaryPrivate::get(temporary)->group.clear();
    QVERIFY(!contact.getParent().isValid());
    QVERIFY(!name.sees());
    QCOMPARE(handlesOf(temporary), 1);
}

void tst_MivoBuddyGroup::aClearedGroupIsFilledAgain()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta before = group.addMeta("m");
    QList<MivoBuddy> contacts;
    for (int i = 0; i < 100; ++i)
        contacts << makeContact("c");
    for (int round = 0; round < 3; ++round) {
        for (const MivoBuddy& contact : std::as_const(contacts))
            QVERIFY(group.addBuddy(contact));
        for (int i = 0; i < 20; ++i)
            QVERIFY(group.containsBuddy(contacts.at(i)));
        const MivoBuddyMeta meta = group.addMeta("m");
        QCOMPARE(meta == before, round == 0);
        QVERIFY(group.containsBuddy(meta));
        QCOMPARE(group.childCount(), 101);
        group.clear();
    }
}

void tst_MivoBuddyGroup::sortingReversesTheMembers_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {0, 1, 2, 3, 4, 7, 16, 33, 64, 100, 1000, 4097})
        QTest::addRow("%d", count) << count;
}

void tst_MivoBuddyGroup::sortingReversesTheMembers()
{
    QFETCH(int, count);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    QList<MivoBuddy> members;
    for (int i = 0; i < count; ++i) {
        members << (i % 3 == 0 ? MivoBuddy(makeTemporary(QString::number(i)))
                               : MivoBuddy(makeContact(QString::number(count - i))));
        group.addBuddy(members.last());
    }
    const QList<MivoBuddy> reversed(members.rbegin(), members.rend());
    group.sort();
    QCOMPARE(membersOf(group), reversed);
    for (const MivoBuddy& member : std::as_const(members))
        QCOMPARE(handlesOf(member), 3);
    group.sort();
    QCOMPARE(membersOf(group), members);
}

void tst_MivoBuddyGroup::whatAHostDoesToTheListIsNoticed_data()
{
    QTest::addColumn<QString>("deed");
    for (const char* deed : {"append", "prepend", "remove", "clear", "exchange", "assign"})
        QTest::newRow(deed) << deed;
}

void tst_MivoBuddyGroup::whatAHostDoesToTheListIsNoticed()
{
    QFETCH(QString, deed);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact a = makeContact("a");
    const MivoBuddyContact b = makeContact("b");
    const MivoBuddyContact inMeta = makeContact("c");
    MivoBuddyMeta meta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    meta.addBuddy(inMeta);
    for (const char* name : {"x", "y", "z"})
        group.addBuddy(makeContact(name));
    group.addBuddy(a);
    QVERIFY(group.containsBuddy(a) && !group.containsBuddy(meta));

    QList<MivoBuddy>& children = childrenOf(group);
    if (deed == "append")
        children << b << meta;
    else if (deed == "prepend")
        children.prepend(meta);
    else if (deed == "remove")
        children.removeLast();
    else if (deed == "clear")
        children.clear();
    else if (deed == "exchange") {
        children.removeLast();
        children << meta;
    } else
        children = QList<MivoBuddy>() << b << meta;

    QCOMPARE(group.containsBuddy(a), children.contains(a));
    QCOMPARE(group.containsBuddy(b), children.contains(b));
    QCOMPARE(group.containsBuddy(meta), children.contains(meta));
    QCOMPARE(group.containsContact(inMeta), children.contains(meta));
    const bool wasMember = children.contains(meta);
    QCOMPARE(group.addBuddy(meta), !wasMember);
    QVERIFY(group.containsBuddy(meta));
    MivoBuddyContactPrivate::get(a)->parent = MivoBuddy();
}

void tst_MivoBuddyGroup::aMergedContactThatAHostAppendedIsLookedIntoAtOnce()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(makeContact("a"));
    QVERIFY(!group.containsContact(MivoBuddyContact()));
    childrenOf(group) << makeMerged(QList<MivoBuddyContact>() << MivoBuddyContact());
    QVERIFY(group.containsContact(MivoBuddyContact()));
}

void tst_MivoBuddyGroup::everyLockedOperationWaitsForTheLock_data()
{
    QTest::addColumn<Operation>("operation");
    const auto row
        = [](const char* name, Operation operation) { QTest::newRow(name) << operation; };
    row("childCount", [](MivoBuddyGroup& group) { group.childCount(); });
    row("onlineChildCount", [](MivoBuddyGroup& group) { group.onlineChildCount(); });
    row("statusChildCount",
        [](MivoBuddyGroup& group) { group.statusChildCount(MivoPresence::NoFlag); });
    row("buddyAt", [](MivoBuddyGroup& group) { group.buddyAt(0); });
    row("addBuddy, contact", [](MivoBuddyGroup& group) { group.addBuddy(makeContact("b")); });
    row("addBuddy, merged contact", [](MivoBuddyGroup& group) { group.addBuddy(makeMerged()); });
    row("addBuddy, refused", [](MivoBuddyGroup& group) { group.addBuddy(MivoBuddy()); });
    row("removeBuddy", [](MivoBuddyGroup& group) { group.removeBuddy(childrenOf(group).at(0)); });
    row("removeBuddy, no member", [](MivoBuddyGroup& group) { group.removeBuddy(MivoBuddy()); });
    row("removeAt", [](MivoBuddyGroup& group) { group.removeAt(0); });
    row("addMeta, new", [](MivoBuddyGroup& group) { group.addMeta("new"); });
    row("addMeta, known", [](MivoBuddyGroup& group) { group.addMeta("known"); });
    row("sort", [](MivoBuddyGroup& group) { group.sort(); });
    row("buddies", [](MivoBuddyGroup& group) { group.buddies(); });
    row("clear", [](MivoBuddyGroup& group) { group.clear(); });
}

void tst_MivoBuddyGroup::everyLockedOperationWaitsForTheLock()
{
    QFETCH(Operation, operation);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyContact contact = makeContact("a");
    group.addBuddy(contact);
    group.addMeta("known");
    QVERIFY(waitsForLock(MivoBuddyGroupPrivate::get(group)->lock, [&] { operation(group); }));
    MivoBuddyPrivate::get(contact)->setBackLink(MivoBuddy());
}

void tst_MivoBuddyGroup::theLookUpsDoNotWaitForTheLock_data()
{
    QTest::addColumn<LookUp>("lookUp");
    const auto row = [](const char* name, LookUp lookUp) { QTest::newRow(name) << lookUp; };
    row("containsBuddy, member", [](MivoBuddyGroup& group) {
        return group.containsBuddy(MivoBuddyGroupPrivate::get(group)->metas.value("known"));
    });
    row("containsBuddy, stranger",
        [](MivoBuddyGroup& group) { return !group.containsBuddy(makeContact("b")); });
    row("containsContact, member",
        [](MivoBuddyGroup& group) { return group.containsContact(childrenOf(group).at(0)); });
    row("containsContact, stranger",
        [](MivoBuddyGroup& group) { return !group.containsContact(makeContact("b")); });
    row("containsMeta, known", [](MivoBuddyGroup& group) { return group.containsMeta("known"); });
    row("containsMeta, new", [](MivoBuddyGroup& group) { return !group.containsMeta("new"); });
    row("isExpanded", [](MivoBuddyGroup& group) { return !group.isExpanded(); });
}

void tst_MivoBuddyGroup::theLookUpsDoNotWaitForTheLock()
{
    QFETCH(LookUp, lookUp);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(makeContact("a"));
    group.addMeta("known");
    childrenOf(group) << makeMerged();
    bool answer = false;
    QVERIFY(
        endsWithoutLock(MivoBuddyGroupPrivate::get(group)->lock, [&] { answer = lookUp(group); }));
    QVERIFY(answer);
}

void tst_MivoBuddyGroup::theNewGroupIsLockedWhileTheOldContainerChanges_data()
{
    QTest::addColumn<bool>("fromMeta");
    QTest::newRow("from a group") << false;
    QTest::newRow("from a meta-contact") << true;
}

void tst_MivoBuddyGroup::theNewGroupIsLockedWhileTheOldContainerChanges()
{
    QFETCH(bool, fromMeta);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyGroup oldGroup("old");
    const CycleBreaker<MivoBuddyGroup> endOfOldGroup(oldGroup);
    MivoBuddyMeta oldMeta("old");
    const CycleBreaker<MivoBuddyMeta> endOfOldMeta(oldMeta);
    const MivoBuddy old = fromMeta ? MivoBuddy(oldMeta) : MivoBuddy(oldGroup);
    QList<MivoBuddy>& oldMembers = fromMeta ? childrenOf(oldMeta) : childrenOf(oldGroup);
    QMutex& oldLock = fromMeta ? MivoBuddyMetaPrivate::get(oldMeta)->lock
                               : MivoBuddyGroupPrivate::get(oldGroup)->lock;
    QMutex& newLock = MivoBuddyGroupPrivate::get(group)->lock;
    // So many that the old container stays locked for a while.
    const MivoBuddyContact stranger = makeContact("b");
    for (int i = 0; i < 200000; ++i)
        oldMembers << stranger;
    const MivoBuddyContact contact = makeContact("a");

    bool wasSeen = false;
    bool newWasFree = false;
    for (const QDeadlineTimer patience(testBoundMs); !wasSeen && !patience.hasExpired();) {
        group.removeBuddy(contact);
        oldMembers << contact;
        MivoBuddyPrivate::get(contact)->setBackLink(old);
        Background move([&] { group.addBuddy(contact); });
        while (!move.isFinished() && !patience.hasExpired()) {
            if (oldLock.tryLock()) {
                oldLock.unlock();
                QThread::yieldCurrentThread();
                continue;
            }
            const bool newIsFree = newLock.tryLock();
            if (newIsFree)
                newLock.unlock();
            if (oldLock.tryLock()) {
                oldLock.unlock();
                continue; // the move may have ended before the new lock was tried
            }
            wasSeen = true;
            newWasFree = newWasFree || newIsFree;
        }
        QVERIFY(move.ends());
        QVERIFY(group.containsBuddy(contact));
    }
    QVERIFY(wasSeen);
    QVERIFY(!newWasFree);
}

QTEST_GUILESS_MAIN(tst_MivoBuddyGroup)
#include "tst_mivobuddygroup.moc"
