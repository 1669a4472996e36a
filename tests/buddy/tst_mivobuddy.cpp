#include "RecordLayout.h"
#include "TestBuddies.h"
#include "TestThreads.h"

#include <QtTest>

#include <new>
#include <type_traits>

namespace {

int allocationsUntilFailure = 0;

/** What attach and detach ask of a record. */
struct CountedRecord
{
    explicit CountedRecord(int& counter)
        : destroyed(counter)
    {
    }
    ~CountedRecord() { ++destroyed; }

    QAtomicInt ref{1};
    int& destroyed;
};

MivoBuddy makeBuddy(MivoBuddy::Type type)
{
    switch (type) {
    case MivoBuddy::Group:
        return MivoBuddyGroup("x");
    case MivoBuddy::Meta:
        return MivoBuddyMeta("x");
    case MivoBuddy::Contact:
        return makeContact("x");
    case MivoBuddy::Merged:
        return makeMerged();
    case MivoBuddy::Temporary:
        return makeTemporary("x");
    default:
        return MivoBuddy("x", type);
    }
}

const MivoBuddy::Type allTypes[] = {MivoBuddy::Invalid, MivoBuddy::Group,   MivoBuddy::Meta,
                                    MivoBuddy::Contact, MivoBuddy::Merged,  MivoBuddy::Temporary,
                                    MivoBuddy::Other,   MivoBuddy::Type(9), MivoBuddy::Type(-1)};

/** Converting @p buddy to K shares its entry if it is of kind @p own, and changes nothing else. */
template <class K>
void checkConversion(const MivoBuddy& buddy, MivoBuddy::Type own)
{
    const int before = handlesOf(buddy);
    const K converted(buddy);
    const bool fits = buddy.getType() == own;
    QCOMPARE(converted.isValid(), fits);
    QCOMPARE(converted == buddy, fits);
    QCOMPARE(handlesOf(buddy), fits ? before + 1 : before);
    K assigned;
    assigned = buddy;
    QCOMPARE(assigned == buddy, fits);
    const K copy(assigned);
    QVERIFY(copy == assigned);
    QCOMPARE(handlesOf(buddy), fits ? before + 3 : before);
    const MivoBuddy back(copy);
    QCOMPARE(back == buddy, fits);
}

/** Moving @p x's handle, constructing and assigning, hands the entry on and counts nothing. */
template <class K>
void checkMove(const K& x, const K& y)
{
    QVERIFY(std::is_nothrow_move_constructible<K>::value);
    QVERIFY(std::is_nothrow_move_assignable<K>::value);
    K source(x);
    K moved(std::move(source));
    QVERIFY(moved == x);
    QVERIFY(!source.isValid()); // NOLINT(bugprone-use-after-move): what is tested
    QCOMPARE(handlesOf(x), 2);
    K target(y);
    QCOMPARE(handlesOf(y), 2);
    K& result = (target = std::move(moved));
    QCOMPARE(&result, &target);
    QVERIFY(target == x);
    QVERIFY(!moved.isValid()); // NOLINT(bugprone-use-after-move): what is tested
    QCOMPARE(handlesOf(x), 2);
    QCOMPARE(handlesOf(y), 1);
    K other(x);
    target = std::move(other); // of the same entry
    QVERIFY(target == x);
    QCOMPARE(handlesOf(x), 2);
    K& itself = target;
    target = std::move(itself);
    QVERIFY(target == x);
    QCOMPARE(handlesOf(x), 2);
    target = K();
    QVERIFY(!target.isValid());
    QCOMPARE(handlesOf(x), 1);
}

template <class K>
void checkLayout()
{
    QVERIFY((std::is_base_of<MivoBuddy, K>::value));
    QCOMPARE(sizeof(K), sizeof(MivoBuddy));
    QVERIFY(std::has_virtual_destructor<K>::value);
    QVERIFY(!K().isValid());
    QVERIFY((std::is_convertible<const MivoBuddy&, K>::value));
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0)
        return nullptr;
    return ::operator new(size);
}

Q_DECLARE_METATYPE(MivoBuddy::Type)

class tst_MivoBuddy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aHandleIsAVirtualTableAndARecord();
    void theRecordsKeepTheirFieldsInOrder();
    void groupsAndMetaContactsAreMadeOfTheirNames();
    void theKindsAreNumbered();
    void anInvalidHandleAnswersDefaults();
    void aNewEntryHasNameAndKindAndNothingElse_data();
    void aNewEntryHasNameAndKindAndNothingElse();
    void onlyTheFiveKindsHaveAKindRecord_data();
    void onlyTheFiveKindsHaveAKindRecord();
    void aHandleConvertsToItsOwnKindOnly_data();
    void aHandleConvertsToItsOwnKindOnly();
    void anInvalidHandleConvertsToInvalidHandles();
    void aKindWithoutItsRecordAnswersDefaults();
    void changesAreSeenThroughEveryHandle();
    void copiesShareTheEntry();
    void assignmentSharesTheOthersEntry();
    void assigningWithinOneEntryChangesNothing();
    void assigningFromInsideTheReleasedEntryIsSafe();
    void assigningToAHandleInsideTheReleasedEntryIsSafe();
    void metaContactsAreAssignedAsHandles();
    void aHandleOfABaseKeepsTheEntryAliveAndDestroysItsKind();
    void equalityIsIdentity();
    void theHashIsThatOfTheAddress();
    void hashesAndSetsUseIt();
    void whenMemoryIsShortTheHandleIsInvalid_data();
    void whenMemoryIsShortTheHandleIsInvalid();
    void attachAndDetachCountAndDelete();
    void aMovedHandleIsEmpty();
    void handlesAreCopiedInManyThreads();
    void everyPairIsLess();
    void groupsAreOrderedByLowerCaseName_data();
    void groupsAreOrderedByLowerCaseName();
    void whatIsNoGroupIsLess();
};

void tst_MivoBuddy::aHandleIsAVirtualTableAndARecord()
{
    QCOMPARE(sizeof(MivoBuddy), 2 * sizeof(void*));
    QVERIFY(std::has_virtual_destructor<MivoBuddy>::value);
    checkLayout<MivoBuddyGroup>();
    checkLayout<MivoBuddyMeta>();
    checkLayout<MivoBuddyContact>();
    checkLayout<MivoBuddyMerged>();
    checkLayout<MivoBuddyTemporary>();
    QCOMPARE(sizeof(MivoBuddy::Type), size_t(4));
    QVERIFY((std::is_signed<std::underlying_type<MivoBuddy::Type>::type>::value));
}

void tst_MivoBuddy::theRecordsKeepTheirFieldsInOrder()
{
    const MivoBuddy buddy("x", MivoBuddy::Other);
    const MivoBuddyPrivate* const b = MivoBuddyPrivate::get(buddy);
    QVERIFY(startsWithFields(b, b->ref, b->display, b->type, b->unreadMessages, b->kindData));

    const MivoBuddyGroup group("x");
    const MivoBuddyGroupPrivate* const g = MivoBuddyGroupPrivate::get(group);
    QVERIFY(startsWithFields(g, g->children, g->metas, g->lock, g->expanded));

    const MivoBuddyMeta meta("x");
    const MivoBuddyMetaPrivate* const m = MivoBuddyMetaPrivate::get(meta);
    QVERIFY(startsWithFields(m, m->children, m->group, m->lock, m->expanded));

    const MivoBuddyContact contact = makeContact("x");
    const MivoBuddyContactPrivate* const c = MivoBuddyContactPrivate::get(contact);
    QVERIFY(startsWithFields(c, c->account, c->type, c->id, c->presence, c->subscription,
                             c->resources, c->resource, c->avatarPath, c->parent, c->extraInfo,
                             c->attribs));

    const MivoBuddyMerged merged = makeMerged();
    const MivoBuddyMergedPrivate* const mm = MivoBuddyMergedPrivate::get(merged);
    QVERIFY(startsWithFields(mm, mm->parent, mm->contacts));

    const MivoBuddyTemporary temporary = makeTemporary("x");
    const MivoBuddyTemporaryPrivate* const t = MivoBuddyTemporaryPrivate::get(temporary);
    QVERIFY(startsWithFields(t, t->account, t->id, t->presence, t->group, t->resources));
}

void tst_MivoBuddy::groupsAndMetaContactsAreMadeOfTheirNames()
{
    QVERIFY((std::is_convertible<QString, MivoBuddyGroup>::value));
    QVERIFY((std::is_convertible<QString, MivoBuddyMeta>::value));
}

void tst_MivoBuddy::theKindsAreNumbered()
{
    QCOMPARE(int(MivoBuddy::Invalid), 0);
    QCOMPARE(int(MivoBuddy::Group), 1);
    QCOMPARE(int(MivoBuddy::Meta), 2);
    QCOMPARE(int(MivoBuddy::Contact), 3);
    QCOMPARE(int(MivoBuddy::Merged), 4);
    QCOMPARE(int(MivoBuddy::Temporary), 5);
    QCOMPARE(int(MivoBuddy::Other), 6);
    QCOMPARE(int(MivoBuddyGroup("x").getType()), 1);
    QCOMPARE(int(MivoBuddyMeta("x").getType()), 2);
    QCOMPARE(int(makeContact("x").getType()), 3);
    QCOMPARE(int(makeMerged().getType()), 4);
    QCOMPARE(int(makeTemporary("x").getType()), 5);
}

void tst_MivoBuddy::anInvalidHandleAnswersDefaults()
{
    MivoBuddy buddy;
    QVERIFY(!buddy.isValid());
    QVERIFY(!MivoBuddyPrivate::get(buddy));
    QCOMPARE(buddy.getType(), MivoBuddy::Invalid);
    QVERIFY(buddy.getDisplay().isNull());
    QCOMPARE(buddy.unreadMessages(), 0);
    buddy.setUnreadMessages(5);
    QCOMPARE(buddy.unreadMessages(), 0);
    QVERIFY(!buddy.isValid());
}

void tst_MivoBuddy::aNewEntryHasNameAndKindAndNothingElse_data()
{
    QTest::addColumn<MivoBuddy::Type>("type");
    for (const MivoBuddy::Type type : allTypes)
        QTest::addRow("%d", int(type)) << type;
}

void tst_MivoBuddy::aNewEntryHasNameAndKindAndNothingElse()
{
    QFETCH(MivoBuddy::Type, type);
    const MivoBuddy buddy("Ann", type);
    QVERIFY(buddy.isValid());
    QCOMPARE(buddy.getType(), type);
    QCOMPARE(buddy.getDisplay(), QString("Ann"));
    QCOMPARE(buddy.unreadMessages(), 0);
    QCOMPARE(handlesOf(buddy), 1);
    QVERIFY(!MivoBuddyPrivate::get(buddy)->kindData);
}

void tst_MivoBuddy::onlyTheFiveKindsHaveAKindRecord_data()
{
    aNewEntryHasNameAndKindAndNothingElse_data();
}

void tst_MivoBuddy::onlyTheFiveKindsHaveAKindRecord()
{
    QFETCH(MivoBuddy::Type, type);
    const MivoBuddy buddy = makeBuddy(type);
    QCOMPARE(MivoBuddyPrivate::get(buddy)->kindData != nullptr, type >= 1 && type <= 5);
    QCOMPARE(static_cast<void*>(MivoBuddyGroupPrivate::get(buddy)) != nullptr, type == 1);
    QCOMPARE(static_cast<void*>(MivoBuddyMetaPrivate::get(buddy)) != nullptr, type == 2);
    QCOMPARE(static_cast<void*>(MivoBuddyContactPrivate::get(buddy)) != nullptr, type == 3);
    QCOMPARE(static_cast<void*>(MivoBuddyMergedPrivate::get(buddy)) != nullptr, type == 4);
    QCOMPARE(static_cast<void*>(MivoBuddyTemporaryPrivate::get(buddy)) != nullptr, type == 5);
}

void tst_MivoBuddy::aHandleConvertsToItsOwnKindOnly_data()
{
    aNewEntryHasNameAndKindAndNothingElse_data();
}

void tst_MivoBuddy::aHandleConvertsToItsOwnKindOnly()
{
    QFETCH(MivoBuddy::Type, type);
    const MivoBuddy buddy = makeBuddy(type);
    checkConversion<MivoBuddyGroup>(buddy, MivoBuddy::Group);
    checkConversion<MivoBuddyMeta>(buddy, MivoBuddy::Meta);
    checkConversion<MivoBuddyContact>(buddy, MivoBuddy::Contact);
    checkConversion<MivoBuddyMerged>(buddy, MivoBuddy::Merged);
    checkConversion<MivoBuddyTemporary>(buddy, MivoBuddy::Temporary);
    QCOMPARE(handlesOf(buddy), 1);
}

void tst_MivoBuddy::anInvalidHandleConvertsToInvalidHandles()
{
    const MivoBuddy buddy;
    QVERIFY(!MivoBuddyGroup(buddy).isValid());
    QVERIFY(!MivoBuddyMeta(buddy).isValid());
    QVERIFY(!MivoBuddyContact(buddy).isValid());
    QVERIFY(!MivoBuddyMerged(buddy).isValid());
    QVERIFY(!MivoBuddyTemporary(buddy).isValid());
}

void tst_MivoBuddy::aKindWithoutItsRecordAnswersDefaults()
{
    MivoBuddyGroup group(MivoBuddy("x", MivoBuddy::Group));
    QVERIFY(group.isValid());
    QCOMPARE(group.getDisplay(), QString("x"));
    QCOMPARE(group.childCount(), -1);
    QVERIFY(!group.addBuddy(makeContact("a")));
    QVERIFY(!group.addMeta("m").isValid());
    MivoBuddyMeta meta(MivoBuddy("x", MivoBuddy::Meta));
    QVERIFY(meta.isValid());
    QVERIFY(!meta.buddyAt(0).isValid());
    QVERIFY(!meta.getGroup().isValid());
    MivoBuddyContact contact(MivoBuddy("x", MivoBuddy::Contact));
    QVERIFY(contact.getId().isNull());
    QVERIFY(!contact.getParent().isValid());
    QVERIFY(!contact.setFieldValue("x", MivoArg()));
    MivoBuddyGroup other("other");
    QVERIFY(other.addBuddy(contact));
    QVERIFY(other.addBuddy(meta));
    QVERIFY(other.containsBuddy(contact));
    QCOMPARE(other.onlineChildCount(), 1);
    QCOMPARE(other.removeBuddy(contact), 1);
    QCOMPARE(MivoBuddyMerged(MivoBuddy("x", MivoBuddy::Merged)).getAccounts().size(), 0);
    QVERIFY(!MivoBuddyTemporary(MivoBuddy("x", MivoBuddy::Temporary)).getGroup().isValid());
}

void tst_MivoBuddy::changesAreSeenThroughEveryHandle()
{
    MivoBuddy first("Ann", MivoBuddy::Other);
    const MivoBuddy copy(first);
    MivoBuddy assigned;
    assigned = first;
    first.setUnreadMessages(3);
    QCOMPARE(copy.unreadMessages(), 3);
    QCOMPARE(assigned.unreadMessages(), 3);
    assigned.setUnreadMessages(-2);
    QCOMPARE(first.unreadMessages(), -2);
}

void tst_MivoBuddy::copiesShareTheEntry()
{
    const MivoBuddy buddy("Ann", MivoBuddy::Other);
    {
        const MivoBuddy copy(buddy);
        const QList<MivoBuddy> list = QList<MivoBuddy>() << copy;
        QCOMPARE(MivoBuddyPrivate::get(list.first()), MivoBuddyPrivate::get(buddy));
        QCOMPARE(handlesOf(buddy), 3);
    }
    QCOMPARE(handlesOf(buddy), 1);
}

void tst_MivoBuddy::assignmentSharesTheOthersEntry()
{
    const Witness ann("Ann");
    MivoBuddy target(ann.name(), MivoBuddy::Other);
    const MivoBuddy bob("Bob", MivoBuddy::Other);
    MivoBuddy& result = (target = bob);
    QCOMPARE(&result, &target);
    QVERIFY(!ann.sees());
    QVERIFY(target == bob);
    QCOMPARE(handlesOf(bob), 2);
    target = MivoBuddy();
    QVERIFY(!target.isValid());
    QCOMPARE(handlesOf(bob), 1);
}

void tst_MivoBuddy::assigningWithinOneEntryChangesNothing()
{
    MivoBuddy buddy("Ann", MivoBuddy::Other);
    MivoBuddy copy(buddy);
    copy = buddy;
    const MivoBuddy& itself = buddy;
    buddy = itself;
    QCOMPARE(handlesOf(buddy), 2);
    MivoBuddy invalid;
    invalid = MivoBuddy();
    QVERIFY(!invalid.isValid());
}

void tst_MivoBuddy::assigningFromInsideTheReleasedEntryIsSafe()
{
    const Witness outer("outer");
    MivoBuddyMerged merged(outer.name(), QList<MivoBuddyContact>() << makeContact("inner"));
    MivoBuddy handle(merged);
    merged = MivoBuddyMerged();
    handle = MivoBuddyMergedPrivate::get(handle)->contacts.first();
    QVERIFY(!outer.sees());
    QCOMPARE(handle.getDisplay(), QString("inner"));
    QCOMPARE(handlesOf(handle), 1);
}

void tst_MivoBuddy::assigningToAHandleInsideTheReleasedEntryIsSafe()
{
    const Witness name("group");
    MivoBuddyGroup group(name.name());
    const MivoBuddyContact contact = makeContact("a");
    group.addBuddy(contact);
    childrenOf(group).clear();
    group = MivoBuddyGroup();
    QVERIFY(name.sees());
    MivoBuddyContactPrivate::get(contact)->parent = MivoBuddy();
    QVERIFY(!name.sees());
}

void tst_MivoBuddy::metaContactsAreAssignedAsHandles()
{
    const MivoBuddyMeta meta("m");
    MivoBuddyMeta target("n");
    MivoBuddyMeta& result = (target = meta);
    QCOMPARE(&result, &target);
    QVERIFY(target == meta);
    QCOMPARE(handlesOf(meta), 2);
    const MivoBuddyMeta& itself = target;
    target = itself;
    QCOMPARE(handlesOf(meta), 2);
}

void tst_MivoBuddy::aHandleOfABaseKeepsTheEntryAliveAndDestroysItsKind()
{
    const Witness id("a@x");
    {
        const std::unique_ptr<MivoBuddy> handle(new MivoBuddyContact(makeContact(id.name())));
        QVERIFY(id.sees());
        QCOMPARE(MivoBuddyContact(*handle).getId(), QString("a@x"));
    }
    QVERIFY(!id.sees());
}

void tst_MivoBuddy::equalityIsIdentity()
{
    const MivoBuddyContact a = makeContact("same");
    const MivoBuddyContact b = makeContact("same");
    QVERIFY(!(a == b));
    QVERIFY(a != b);
    QVERIFY(a == MivoBuddy(a));
    QVERIFY(!(a != MivoBuddy(a)));
    QVERIFY(MivoBuddy() == MivoBuddy());
    QVERIFY(MivoBuddy() == MivoBuddyGroup());
    QVERIFY(a != MivoBuddy());
}

void tst_MivoBuddy::theHashIsThatOfTheAddress()
{
    QCOMPARE(qHash(MivoBuddy()), 0U);
    QCOMPARE(qHash(MivoBuddyGroup()), 0U);
    const MivoBuddyContact contact = makeContact("a");
    const quint64 address = quintptr(MivoBuddyPrivate::get(contact));
    const quint64 expected = sizeof(void*) == 8 ? ((address >> 31) ^ address) : address;
    QCOMPARE(qHash(contact), uint(expected & 0xFFFFFFFFU));
    QCOMPARE(qHash(MivoBuddy(contact)), qHash(contact));
    QVERIFY((std::is_same<uint, decltype(qHash(contact))>::value));
}

void tst_MivoBuddy::hashesAndSetsUseIt()
{
    const MivoBuddy a = makeContact("a");
    const MivoBuddy b = makeContact("a");
    // What the containers call: the hash above, exclusive-or'ed with their seed.
    QCOMPARE(uint(qHash(a, 0U)), qHash(a));
    QCOMPARE(uint(qHash(a, 0x5A5AU)), qHash(a) ^ 0x5A5AU);
    QSet<MivoBuddy> set;
    set << a << b << a << MivoBuddy() << MivoBuddy(a);
    QCOMPARE(int(set.size()), 3);
    QVERIFY(set.contains(a));
    QVERIFY(!set.contains(makeContact("a")));
    QHash<MivoBuddyContact, int> hash;
    hash.insert(a, 1);
    hash.insert(b, 2);
    QCOMPARE(hash.value(MivoBuddyContact(a)), 1);
    QCOMPARE(hash.value(MivoBuddyContact(b)), 2);
}

void tst_MivoBuddy::whenMemoryIsShortTheHandleIsInvalid_data()
{
    QTest::addColumn<MivoBuddy::Type>("type");
    QTest::addColumn<int>("failingAllocation");
    for (const MivoBuddy::Type type : allTypes) {
        QTest::addRow("%d, record", int(type)) << type << 1;
        if (type >= 1 && type <= 5)
            QTest::addRow("%d, kind record", int(type)) << type << 2;
    }
}

void tst_MivoBuddy::whenMemoryIsShortTheHandleIsInvalid()
{
    QFETCH(MivoBuddy::Type, type);
    QFETCH(int, failingAllocation);
    allocationsUntilFailure = failingAllocation;
    const MivoBuddy buddy = makeBuddy(type);
    QCOMPARE(allocationsUntilFailure, 0);
    QVERIFY(!buddy.isValid());
}

void tst_MivoBuddy::attachAndDetachCountAndDelete()
{
    int destroyed = 0;
    CountedRecord* const record = new CountedRecord(destroyed);
    tAtomicAttach(record);
    QCOMPARE(mivoLoadAcquire(record->ref), 2);
    tAtomicDetach(record);
    QCOMPARE(mivoLoadAcquire(record->ref), 1);
    QCOMPARE(destroyed, 0);
    tAtomicDetach(record);
    QCOMPARE(destroyed, 1);
    tAtomicAttach(static_cast<CountedRecord*>(nullptr));
    tAtomicDetach(static_cast<CountedRecord*>(nullptr));
}

void tst_MivoBuddy::aMovedHandleIsEmpty()
{
    checkMove<MivoBuddy>(MivoBuddy("x", MivoBuddy::Other), MivoBuddy("y", MivoBuddy::Other));
    checkMove<MivoBuddyGroup>(MivoBuddyGroup("x"), MivoBuddyGroup("y"));
    checkMove<MivoBuddyMeta>(MivoBuddyMeta("x"), MivoBuddyMeta("y"));
    checkMove<MivoBuddyContact>(makeContact("x"), makeContact("y"));
    checkMove<MivoBuddyMerged>(makeMerged(), makeMerged());
    checkMove<MivoBuddyTemporary>(makeTemporary("x"), makeTemporary("y"));

    // The source lives inside the record that is released.
    const Witness outer("outer");
    MivoBuddyMerged merged(outer.name(), QList<MivoBuddyContact>() << makeContact("inner"));
    MivoBuddyContact inner;
    static_cast<MivoBuddy&>(inner) = merged;
    merged = MivoBuddyMerged();
    inner = std::move(MivoBuddyMergedPrivate::get(inner)->contacts.first());
    QVERIFY(!outer.sees());
    QCOMPARE(inner.getDisplay(), QString("inner"));
    QCOMPARE(handlesOf(inner), 1);
}

void tst_MivoBuddy::handlesAreCopiedInManyThreads()
{
    const Witness name("shared");
    {
        const MivoBuddy buddy = makeContact(name.name());
        const auto copyAround = [&buddy] {
            for (int i = 0; i < 20000; ++i) {
                const MivoBuddy copy(buddy);
                MivoBuddyContact contact(copy);
                MivoBuddy assigned;
                assigned = contact;
            }
        };
        std::vector<std::unique_ptr<QThread>> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(QThread::create(copyAround));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            QVERIFY(thread->wait(testBoundMs));
        QCOMPARE(handlesOf(buddy), 1);
    }
    QVERIFY(!name.sees());
}

void tst_MivoBuddy::everyPairIsLess()
{
    const MivoBuddy group = MivoBuddyGroup("g");
    const MivoBuddy contact = makeContact("c");
    for (const MivoBuddy& a : {group, contact, MivoBuddy()}) {
        for (const MivoBuddy& b : {group, contact, MivoBuddy()})
            QVERIFY(buddyLessThan(a, b));
    }
}

void tst_MivoBuddy::groupsAreOrderedByLowerCaseName_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("less");
    QTest::newRow("abc, ABD") << "abc"
                              << "ABD" << true;
    QTest::newRow("B, a") << "B"
                          << "a" << false;
    QTest::newRow("a, B") << "a"
                          << "B" << true;
    QTest::newRow("equal") << "a"
                           << "a" << false;
    QTest::newRow("equal but for case") << "A"
                                        << "a" << false;
    QTest::newRow("by code units, not by locale") << QString(QChar(0xE9)) << "z" << false;
    QTest::newRow("underscore after capital, before small") << "_"
                                                            << "A" << true;
    QTest::newRow("empty first") << ""
                                 << "a" << true;
}

void tst_MivoBuddy::groupsAreOrderedByLowerCaseName()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, less);
    QCOMPARE(groupLessThan(MivoBuddyGroup(a), MivoBuddyGroup(b)), less);
}

void tst_MivoBuddy::whatIsNoGroupIsLess()
{
    const MivoBuddyGroup group("a");
    const MivoBuddyContact contact = makeContact("b");
    QVERIFY(groupLessThan(contact, group));
    QVERIFY(groupLessThan(group, contact));
    QVERIFY(groupLessThan(contact, contact));
    QVERIFY(groupLessThan(MivoBuddy(), group));
    QVERIFY(groupLessThan(group, MivoBuddyMeta("a")));
}

QTEST_GUILESS_MAIN(tst_MivoBuddy)
#include "tst_mivobuddy.moc"
