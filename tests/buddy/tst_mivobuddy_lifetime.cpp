#include "TestBuddies.h"
#include "TestThreads.h"

#include <QtTest>

/** What keeps what alive. */
class tst_MivoBuddyLifetime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMemberAndItsGroupKeepEachOtherAlive();
    void removingAnEntryFreesIt_data();
    void removingAnEntryFreesIt();
    void removingAllMembersFreesTheGroup();
    void clearingItsGroupsFreesAWholeContactList();
    void clearingAMetaContactFreesItsMembers();
    void aMemberTakenOutByIndexKeepsTheGroupAlive();
    void aMemberRemovedFromAMetaContactKeepsItAliveUntilItMoves();
    void aMetaContactIsKeptForItsName();
    void movingTheLastMemberFreesItsOldContainer_data();
    void movingTheLastMemberFreesItsOldContainer();
    void aGroupMayGoWithItsLastMember();
    void chainsOfEntriesAreReleasedOnASmallStack();
};

void tst_MivoBuddyLifetime::aMemberAndItsGroupKeepEachOtherAlive()
{
    const Witness groupName("group");
    const Witness contactName("contact");
    MivoBuddyGroup group(groupName.name());
    MivoBuddyContact contact = makeContact(contactName.name());
    group.addBuddy(contact);
    QCOMPARE(handlesOf(group), 2);
    QCOMPARE(handlesOf(contact), 2);
    contact = MivoBuddyContact();
    QVERIFY(contactName.sees());
    contact = group.buddyAt(0);
    group = MivoBuddyGroup();
    QVERIFY(groupName.sees());
    QCOMPARE(contact.getParent().getDisplay(), QString("group"));
    QCOMPARE(MivoBuddyGroup(contact.getParent()).removeBuddy(contact), 1);
    QVERIFY(!groupName.sees());
    contact = MivoBuddyContact();
    QVERIFY(!contactName.sees());
}

void tst_MivoBuddyLifetime::removingAnEntryFreesIt_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("meta-contact") << 2;
    QTest::newRow("contact") << 3;
    QTest::newRow("merged contact") << 4;
    QTest::newRow("temporary contact") << 5;
}

void tst_MivoBuddyLifetime::removingAnEntryFreesIt()
{
    QFETCH(int, kind);
    const Witness name("entry");
    MivoBuddyGroup group("group");
    MivoBuddy entry = kind == 2 ? MivoBuddy(MivoBuddyMeta(name.name()))
        : kind == 3             ? MivoBuddy(makeContact(name.name()))
        : kind == 4             ? MivoBuddy(MivoBuddyMerged(name.name(), QList<MivoBuddyContact>()))
                                : MivoBuddy(makeTemporary(name.name()));
    group.addBuddy(entry);
    QCOMPARE(handlesOf(entry), 2);
    QCOMPARE(group.removeBuddy(entry), 1);
    QCOMPARE(handlesOf(entry), 1);
    QCOMPARE(handlesOf(group), 1);
    QVERIFY(name.sees());
    entry = MivoBuddy();
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::removingAllMembersFreesTheGroup()
{
    const Witness groupName("group");
    const Witness contactName("contact");
    {
        MivoBuddyGroup group(groupName.name());
        for (int i = 0; i < 10; ++i)
            group.addBuddy(makeContact(contactName.name()));
        while (group.childCount() > 0)
            group.removeBuddy(group.buddyAt(0));
        QVERIFY(!contactName.sees());
        QVERIFY(groupName.sees());
    }
    QVERIFY(!groupName.sees());
}

void tst_MivoBuddyLifetime::clearingItsGroupsFreesAWholeContactList()
{
    const Witness name("entry");
    {
        QList<MivoBuddyGroup> groups;
        for (int i = 0; i < 3; ++i) {
            MivoBuddyGroup group(name.name());
            MivoBuddyMeta added(name.name());
            group.addBuddy(added);
            for (MivoBuddyMeta meta : {group.addMeta(name.name()), added}) {
                meta.addBuddy(makeContact(name.name()));
                meta.addBuddy(MivoBuddyMerged(name.name(), {makeContact(name.name())}));
            }
            group.addBuddy(makeContact(name.name()));
            group.addBuddy(MivoBuddyMerged(name.name(), {makeContact(name.name())}));
            group.addBuddy(MivoBuddyTemporary(nullptr, name.name(), MivoPresence(), group));
            groups << group;
        }
        for (MivoBuddyGroup& group : groups)
            group.clear();
        QVERIFY(name.sees());
    }
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::clearingAMetaContactFreesItsMembers()
{
    const Witness metaName("meta");
    const Witness contactName("contact");
    {
        MivoBuddyMeta meta(metaName.name());
        meta.addBuddy(makeContact(contactName.name()));
        meta.clear();
        QVERIFY(!contactName.sees());
        QVERIFY(metaName.sees());
    }
    QVERIFY(!metaName.sees());
}

void tst_MivoBuddyLifetime::aMemberTakenOutByIndexKeepsTheGroupAlive()
{
    const Witness name("group");
    MivoBuddyGroup group(name.name());
    group.addBuddy(makeContact("a"));
    MivoBuddyContact contact = group.removeAt(0);
    group = MivoBuddyGroup();
    QVERIFY(name.sees());
    contact = MivoBuddyContact();
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::aMemberRemovedFromAMetaContactKeepsItAliveUntilItMoves()
{
    const Witness name("meta");
    MivoBuddyMeta meta(name.name());
    const MivoBuddyContact contact = makeContact("a");
    meta.addBuddy(contact);
    meta.removeBuddy(contact);
    meta = MivoBuddyMeta();
    QVERIFY(name.sees());
    MivoBuddyGroup group("group");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(contact);
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::aMetaContactIsKeptForItsName()
{
    const Witness name("meta");
    {
        MivoBuddyGroup group("group");
        group.removeBuddy(group.addMeta(name.name()));
        QCOMPARE(group.childCount(), 0);
        QVERIFY(name.sees());
    }
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::movingTheLastMemberFreesItsOldContainer_data()
{
    QTest::addColumn<bool>("fromMeta");
    QTest::addColumn<bool>("toMeta");
    for (const bool fromMeta : {false, true}) {
        for (const bool toMeta : {false, true})
            QTest::addRow("%d to %d", fromMeta, toMeta) << fromMeta << toMeta;
    }
}

void tst_MivoBuddyLifetime::movingTheLastMemberFreesItsOldContainer()
{
    QFETCH(bool, fromMeta);
    QFETCH(bool, toMeta);
    const Witness name("old");
    const MivoBuddyContact contact = makeContact("a");
    if (fromMeta)
        QVERIFY(MivoBuddyMeta(name.name()).addBuddy(contact));
    else
        QVERIFY(MivoBuddyGroup(name.name()).addBuddy(contact));
    QVERIFY(name.sees());
    MivoBuddyMeta meta("new");
    MivoBuddyGroup group("new");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const CycleBreaker<MivoBuddyGroup> endOfGroup(group);
    QVERIFY(toMeta ? meta.addBuddy(contact) : group.addBuddy(contact));
    QVERIFY(!name.sees());
}

void tst_MivoBuddyLifetime::aGroupMayGoWithItsLastMember()
{
    const Witness name("group");
    const MivoBuddyTemporary temporary = makeTemporary("t");
    {
        MivoBuddyGroup group(name.name());
        group.addBuddy(temporary);
    }
    QVERIFY(name.sees());
    // The handle that is called is the last one, and the call clears it.
    QCOMPARE(MivoBuddyTemporaryPrivate::get(temporary)->group.removeBuddy(temporary), 1);
    QVERIFY(!name.sees());
    QCOMPARE(handlesOf(temporary), 1);
}

void tst_MivoBuddyLifetime::chainsOfEntriesAreReleasedOnASmallStack()
{
    const Witness name("link");
    runInThread(
        [&name] {
            MivoBuddy next;
            for (int i = 0; i < 100000; ++i) {
                const MivoBuddyContact contact = makeContact("c");
                MivoBuddyContactPrivate::get(contact)->parent = next;
                MivoBuddyContact holder = makeContact("h");
                holder.setAttribs({{"list", MivoArg(QList<MivoArg>())}});
                next = MivoBuddyMerged(name.name(), QList<MivoBuddyContact>() << contact << holder);
            }
        },
        256 * 1024);
    QVERIFY(!name.sees());
}

QTEST_GUILESS_MAIN(tst_MivoBuddyLifetime)
#include "tst_mivobuddy_lifetime.moc"
