#include "TestBuddies.h"

#include <QtTest>

namespace {

enum Operation {
    GroupAdd,
    GroupRemove,
    GroupRemoveAt,
    GroupClear,
    MetaAdd,
    MetaRemove,
    MetaRemoveAt,
    MetaClear
};

/** Where a back-link leads. */
enum Place { Nowhere, Here, Elsewhere };

MivoBuddy makeEntry(MivoBuddy::Type kind)
{
    switch (kind) {
    case MivoBuddy::Meta:
        return MivoBuddyMeta("entry");
    case MivoBuddy::Contact:
        return makeContact("entry");
    case MivoBuddy::Merged:
        return makeMerged();
    default:
        return makeTemporary("entry");
    }
}

void setLink(const MivoBuddy& entry, const MivoBuddy& container)
{
    if (MivoBuddyMetaPrivate* const meta = MivoBuddyMetaPrivate::get(entry))
        meta->group = container;
    else if (MivoBuddyContactPrivate* const contact = MivoBuddyContactPrivate::get(entry))
        contact->parent = container;
    else if (MivoBuddyMergedPrivate* const merged = MivoBuddyMergedPrivate::get(entry))
        merged->parent = container;
    else
        MivoBuddyTemporaryPrivate::get(entry)->group = container;
}

/** The back-link as the public getters answer it. */
MivoBuddy linkOf(const MivoBuddy& entry)
{
    switch (entry.getType()) {
    case MivoBuddy::Meta:
        return MivoBuddyMeta(entry).getGroup();
    case MivoBuddy::Contact:
        return MivoBuddyContact(entry).getParent();
    case MivoBuddy::Merged:
        return MivoBuddyMerged(entry).getParent();
    default:
        return MivoBuddyTemporary(entry).getGroup();
    }
}

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(Place)
Q_DECLARE_METATYPE(MivoBuddy::Type)

/** The table of what sets and clears which back-link, row by row. */
class tst_MivoBuddyBackLinks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theTableHolds_data();
    void theTableHolds();
    void anEntryMadeByAddMetaLeadsToTheGroup();
};

void tst_MivoBuddyBackLinks::theTableHolds_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<MivoBuddy::Type>("kind");
    QTest::addColumn<bool>("member");
    QTest::addColumn<Place>("before");
    QTest::addColumn<Place>("after");
    QTest::addColumn<bool>("leavesElsewhere");

    const struct
    {
        const char* name;
        MivoBuddy::Type kind;
        bool fitsMeta;
    } kinds[] = {{"meta-contact", MivoBuddy::Meta, false},
                 {"contact", MivoBuddy::Contact, true},
                 {"merged contact", MivoBuddy::Merged, true},
                 {"temporary contact", MivoBuddy::Temporary, false}};
    const char* const places[] = {"nowhere", "here", "elsewhere"};
    const auto row = [&](const char* name, Operation operation, const auto& kind, bool member,
                         Place before, Place after, bool leavesElsewhere) {
        QTest::addRow("%s, %s%s, linked %s", name, kind.name, member ? "" : " not a member",
                      places[before])
            << operation << kind.kind << member << before << after << leavesElsewhere;
    };
    for (const auto& kind : kinds) {
        const bool moves = kind.kind == MivoBuddy::Contact;
        for (const Place before : {Nowhere, Here, Elsewhere}) {
            const Place cleared = before == Here ? Nowhere : before;
            row("group's addBuddy", GroupAdd, kind, false, before, Here, moves);
            row("group's addBuddy again", GroupAdd, kind, true, before, before, false);
            for (const bool member : {true, false})
                row("group's removeBuddy", GroupRemove, kind, member, before, cleared, false);
            row("group's removeAt", GroupRemoveAt, kind, true, before, before, false);
            row("group's clear", GroupClear, kind, true, before, cleared, false);
            row("group's clear", GroupClear, kind, false, before, before, false);
            // A meta-contact's and a temporary contact's link leads to groups alone.
            if (!kind.fitsMeta && before == Here)
                continue;
            row("meta-contact's addBuddy", MetaAdd, kind, false, before,
                kind.fitsMeta ? Here : before, moves);
            for (const bool member : {true, false})
                row("meta-contact's removeBuddy", MetaRemove, kind, member, before, before, false);
            row("meta-contact's removeAt", MetaRemoveAt, kind, true, before, before, false);
            row("meta-contact's clear", MetaClear, kind, true, before, cleared, false);
            row("meta-contact's clear", MetaClear, kind, false, before, before, false);
        }
    }
}

void tst_MivoBuddyBackLinks::theTableHolds()
{
    QFETCH(Operation, operation);
    QFETCH(MivoBuddy::Type, kind);
    QFETCH(bool, member);
    QFETCH(Place, before);
    QFETCH(Place, after);
    QFETCH(bool, leavesElsewhere);

    MivoBuddyGroup group("group");
    MivoBuddyMeta meta("meta");
    const MivoBuddyGroup elsewhere("elsewhere");
    const CycleBreaker<MivoBuddyGroup> endOfGroup(group);
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const CycleBreaker<MivoBuddyGroup> endOfElsewhere(elsewhere);
    const bool inMeta = operation >= MetaAdd;
    const MivoBuddy here = inMeta ? MivoBuddy(meta) : MivoBuddy(group);
    const MivoBuddy entry = makeEntry(kind);
    const auto at = [&](Place place) {
        return place == Here ? here : place == Elsewhere ? MivoBuddy(elsewhere) : MivoBuddy();
    };

    QList<MivoBuddy>& children = inMeta ? childrenOf(meta) : childrenOf(group);
    if (member)
        children << entry;
    if (before == Elsewhere)
        childrenOf(elsewhere) << entry;
    setLink(entry, at(before));

    switch (operation) {
    case GroupAdd:
        QCOMPARE(group.addBuddy(entry), !member);
        break;
    case GroupRemove:
        QCOMPARE(group.removeBuddy(entry), member ? 1 : 0);
        break;
    case GroupRemoveAt:
        QVERIFY(group.removeAt(0) == entry);
        break;
    case GroupClear:
        group.clear();
        QCOMPARE(group.childCount(), 0);
        break;
    case MetaAdd:
        QCOMPARE(meta.addBuddy(entry), after == Here);
        break;
    case MetaRemove:
        QCOMPARE(meta.removeBuddy(entry), member ? 1 : 0);
        break;
    case MetaRemoveAt:
        QVERIFY(meta.removeAt(0) == entry);
        break;
    case MetaClear:
        meta.clear();
        QCOMPARE(meta.childCount(), 0);
        break;
    }

    QVERIFY(linkOf(entry) == at(after));
    QCOMPARE(elsewhere.containsBuddy(entry), before == Elsewhere && !leavesElsewhere);
    setLink(entry, MivoBuddy());
}

void tst_MivoBuddyBackLinks::anEntryMadeByAddMetaLeadsToTheGroup()
{
    MivoBuddyGroup group("group");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta meta = group.addMeta("m");
    QVERIFY(meta.getGroup() == group);
    group.removeBuddy(meta);
    QVERIFY(!meta.getGroup().isValid());
    // Known by its name, so that nothing is added or linked again.
    QVERIFY(!group.addMeta("m").getGroup().isValid());
}

QTEST_GUILESS_MAIN(tst_MivoBuddyBackLinks)
#include "tst_mivobuddy_backlinks.moc"
