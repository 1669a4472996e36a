#include "DebugText.h"
#include "RecordLayout.h"

#include "MivoBuddyType.h"
#include "MivoBuddyType_p.h"
#include "MivoPresenceType.h"
#include "MivoQt_p.h"
#include "MivoSubscriptionType.h"

#include <QtTest>

#include <new>
#include <type_traits>
#include <utility>

namespace {

bool memoryIsShort = false;

/** The number of handles that share the record of @p type. */
int handlesOf(const MivoBuddyType& type)
{
    return mivoLoadAcquire(MivoBuddyTypePrivate::get(type)->ref);
}

/** Tells how many descriptors use a text: their strings share it. */
class Witness
{
public:
    Witness()
        : text(QString("descriptor %1").arg(++made))
    {
    }
    QString get() const { return text; }
    bool isUsed() const { return !text.isDetached(); }

private:
    static int made;
    QString text;
};
int Witness::made = 0;

MivoPresenceType* presenceType(const QString& id, MivoPresence::Flag flag)
{
    return new MivoPresenceType{id, id, QString(), 0, flag};
}

/** A contact type with one presence type and one subscription type, which use the witnesses. */
MivoBuddyType makeType(const Witness& presence, const Witness& subscription)
{
    MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(type);
    record->presences.insert("away", presenceType(presence.get(), MivoPresence::Offline));
    record->presenceList.append(record->presences.value("away"));
    record->subscriptions.append(new MivoSubscriptionType("Both", subscription.get(), 1, ""));
    return type;
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return memoryIsShort ? nullptr : ::operator new(size);
}

class tst_MivoBuddyType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theRecordKeepsItsFieldsInOrder();
    void anInvalidTypeAnswersDefaults();
    void aNewTypeHasIdAndDisplayNameAndNothingElse();
    void whenMemoryIsShortItIsInvalid();
    void copiesShareOneRecord();
    void assignmentSharesTheOthersRecord();
    void assigningWithinOneRecordChangesNothing();
    void aMovedFromTypeIsInvalid();
    void movingOverTheLastHandleLeavesTheDescriptors();
    void destroyingTheLastHandleDeletesTheDescriptors();
    void assigningOverTheLastHandleLeavesTheDescriptors();
    void theFieldsAreAnsweredInTheirOrder();
    void theFirstSubscriptionOfAnIdIsAnswered();
    void aSubscriptionThatIsNotThereHasEmptyTexts_data();
    void aSubscriptionThatIsNotThereHasEmptyTexts();
    void thePresenceIsLookedUpByItsFlag();
    void ofSeveralPresencesTheHashsFirstIsAnswered();
    void aPointerPrintsAddressIdAndDisplayName();
    void aListPrintsItsElementsAndTheirCount();
};

void tst_MivoBuddyType::theRecordKeepsItsFieldsInOrder()
{
    const MivoBuddyType type("jabber", "Jabber");
    const MivoBuddyTypePrivate* const t = MivoBuddyTypePrivate::get(type);
    QVERIFY(startsWithFields(t, t->ref, t->id, t->display, t->presenceList, t->presences,
                             t->subscriptions, t->extraInfoFields));
}

void tst_MivoBuddyType::anInvalidTypeAnswersDefaults()
{
    const MivoBuddyType type;
    QVERIFY(!type.isValid());
    QVERIFY(!MivoBuddyTypePrivate::get(type));
    QVERIFY(type.getId().isNull());
    QVERIFY(type.getDisplay().isNull());
    QVERIFY(type.getExtraInfoFields().isEmpty());
    const MivoBuddyType copy(type);
    QVERIFY(!copy.isValid());
}

void tst_MivoBuddyType::aNewTypeHasIdAndDisplayNameAndNothingElse()
{
    const MivoBuddyType type("jabber", "Jabber");
    QVERIFY(type.isValid());
    QCOMPARE(type.getId(), QString("jabber"));
    QCOMPARE(type.getDisplay(), QString("Jabber"));
    QVERIFY(type.getExtraInfoFields().isEmpty());
    const MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(type);
    QCOMPARE(handlesOf(type), 1);
    QVERIFY(record->presenceList.isEmpty());
    QVERIFY(record->presences.isEmpty());
    QVERIFY(record->subscriptions.isEmpty());
}

void tst_MivoBuddyType::whenMemoryIsShortItIsInvalid()
{
    const QString id("jabber");
    memoryIsShort = true;
    const MivoBuddyType type(id, id);
    memoryIsShort = false;
    QVERIFY(!type.isValid());
}

void tst_MivoBuddyType::copiesShareOneRecord()
{
    const MivoBuddyType type("jabber", "Jabber");
    {
        const MivoBuddyType copy(type);
        QCOMPARE(handlesOf(type), 2);
        MivoBuddyTypePrivate::get(copy)->display = "XMPP";
        MivoBuddyTypePrivate::get(copy)->extraInfoFields.append(MivoField("l", "i", "g"));
    }
    QCOMPARE(handlesOf(type), 1);
    QCOMPARE(type.getDisplay(), QString("XMPP"));
    QCOMPARE(int(type.getExtraInfoFields().size()), 1);
}

void tst_MivoBuddyType::assignmentSharesTheOthersRecord()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyType target("icq", "ICQ");
    const MivoBuddyType oldTarget(target);
    target = type;
    QCOMPARE(MivoBuddyTypePrivate::get(target), MivoBuddyTypePrivate::get(type));
    QCOMPARE(handlesOf(type), 2);
    QCOMPARE(handlesOf(oldTarget), 1);
    target = MivoBuddyType();
    QVERIFY(!target.isValid());
    QCOMPARE(handlesOf(type), 1);
}

void tst_MivoBuddyType::assigningWithinOneRecordChangesNothing()
{
    MivoBuddyType type("jabber", "Jabber");
    MivoBuddyType copy(type);
    copy = type;
    const MivoBuddyType& itself = type;
    type = itself;
    QCOMPARE(handlesOf(type), 2);
}

void tst_MivoBuddyType::aMovedFromTypeIsInvalid()
{
    static_assert(std::is_nothrow_move_constructible<MivoBuddyType>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoBuddyType>::value, "");
    MivoBuddyType source("jabber", "Jabber");
    const MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(source);

    MivoBuddyType target(std::move(source));
    QVERIFY(!source.isValid()); // NOLINT(bugprone-use-after-move)
    QCOMPARE(MivoBuddyTypePrivate::get(target), record);
    MivoBuddyType assigned("icq", "ICQ");
    assigned = std::move(target);
    QVERIFY(!target.isValid()); // NOLINT(bugprone-use-after-move)
    QCOMPARE(MivoBuddyTypePrivate::get(assigned), record);
    QCOMPARE(handlesOf(assigned), 1);

    MivoBuddyType copy(assigned);
    assigned = std::move(copy); // of one record
    QVERIFY(!copy.isValid()); // NOLINT(bugprone-use-after-move)
    QCOMPARE(handlesOf(assigned), 1);
    MivoBuddyType& itself = assigned;
    assigned = std::move(itself);
    QCOMPARE(assigned.getId(), QString("jabber"));
    QCOMPARE(handlesOf(assigned), 1);
}

void tst_MivoBuddyType::movingOverTheLastHandleLeavesTheDescriptors()
{
    const Witness presence;
    const Witness subscription;
    MivoBuddyType type = makeType(presence, subscription);
    const QHash<QString, MivoPresenceType*> presences = MivoBuddyTypePrivate::get(type)->presences;
    const QList<MivoSubscriptionType*> subscriptions
        = MivoBuddyTypePrivate::get(type)->subscriptions;
    type = MivoBuddyType();
    QVERIFY(presence.isUsed());
    QVERIFY(subscription.isUsed());
    qDeleteAll(presences);
    qDeleteAll(subscriptions);
}

void tst_MivoBuddyType::destroyingTheLastHandleDeletesTheDescriptors()
{
    const Witness presence;
    const Witness subscription;
    {
        const MivoBuddyType type = makeType(presence, subscription);
        {
            const MivoBuddyType copy(type);
        }
        QVERIFY(presence.isUsed());
        QVERIFY(subscription.isUsed());
    }
    QVERIFY(!presence.isUsed());
    QVERIFY(!subscription.isUsed());
}

void tst_MivoBuddyType::assigningOverTheLastHandleLeavesTheDescriptors()
{
    const Witness presence;
    const Witness subscription;
    const Witness id;
    MivoBuddyType type = makeType(presence, subscription);
    MivoBuddyTypePrivate::get(type)->id = id.get();
    const QHash<QString, MivoPresenceType*> presences = MivoBuddyTypePrivate::get(type)->presences;
    const QList<MivoSubscriptionType*> subscriptions
        = MivoBuddyTypePrivate::get(type)->subscriptions;
    type = MivoBuddyType("icq", "ICQ");
    QVERIFY(!id.isUsed());
    QVERIFY(presence.isUsed());
    QVERIFY(subscription.isUsed());
    qDeleteAll(presences);
    qDeleteAll(subscriptions);
    QVERIFY(!presence.isUsed());
    QVERIFY(!subscription.isUsed());
}

void tst_MivoBuddyType::theFieldsAreAnsweredInTheirOrder()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate::get(type)->extraInfoFields << MivoField("l", "second", "g")
                                                     << MivoField("l", "first", "g");
    QList<MivoField> fields = type.getExtraInfoFields();
    QCOMPARE(int(fields.size()), 2);
    QCOMPARE(fields.at(0).getId(), QString("second"));
    QCOMPARE(fields.at(1).getId(), QString("first"));
    fields.clear();
    QCOMPARE(int(type.getExtraInfoFields().size()), 2);
}

void tst_MivoBuddyType::theFirstSubscriptionOfAnIdIsAnswered()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate::get(type)->subscriptions
        << new MivoSubscriptionType("None", "none", 1, "none.png")
        << new MivoSubscriptionType("Both", "both", 2, "both.png")
        << new MivoSubscriptionType("Both again", "both", 3, "");
    const MivoSubscriptionType found = type.getSubscriptionWithId("both");
    QCOMPARE(found.getDisplay(), QString("Both"));
    QCOMPARE(found.getId(), QString("both"));
    QCOMPARE(found.getPriority(), 2U);
    QCOMPARE(found.getIcon(), QString("both.png"));
    QCOMPARE(type.getSubscriptionWithId("none").getDisplay(), QString("None"));
}

void tst_MivoBuddyType::aSubscriptionThatIsNotThereHasEmptyTexts_data()
{
    QTest::addColumn<bool>("valid");
    QTest::newRow("invalid contact type") << false;
    QTest::newRow("unknown id") << true;
}

void tst_MivoBuddyType::aSubscriptionThatIsNotThereHasEmptyTexts()
{
    QFETCH(bool, valid);
    const MivoBuddyType type = valid ? MivoBuddyType("jabber", "Jabber") : MivoBuddyType();
    if (valid) {
        MivoBuddyTypePrivate::get(type)->subscriptions
            << new MivoSubscriptionType("None", "none", 1, "none.png");
    }
    const MivoSubscriptionType none = type.getSubscriptionWithId("both");
    QVERIFY(!none.isValid());
    QVERIFY(none.getDisplay().isEmpty() && !none.getDisplay().isNull());
    QVERIFY(none.getId().isEmpty() && !none.getId().isNull());
    QCOMPARE(none.getPriority(), 0U);
    QVERIFY(none.getIcon().isNull());
}

void tst_MivoBuddyType::thePresenceIsLookedUpByItsFlag()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(type);
    QVERIFY(!record->getPresenceWithFlag(MivoPresence::NoFlag));
    record->presences.insert("off", presenceType("off", MivoPresence::Offline));
    record->presences.insert("away", presenceType("away", MivoPresence::Flag(3)));
    QCOMPARE(record->getPresenceWithFlag(MivoPresence::Offline), record->presences.value("off"));
    QCOMPARE(record->getPresenceWithFlag(MivoPresence::Flag(3)), record->presences.value("away"));
    QVERIFY(!record->getPresenceWithFlag(MivoPresence::Flag(4)));
}

void tst_MivoBuddyType::ofSeveralPresencesTheHashsFirstIsAnswered()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate* const record = MivoBuddyTypePrivate::get(type);
    for (int i = 0; i < 20; ++i) {
        const QString id = QString::number(i);
        record->presences.insert(id, presenceType(id, MivoPresence::Flag(1)));
    }
    QCOMPARE(record->getPresenceWithFlag(MivoPresence::Flag(1)), *record->presences.constBegin());
}

void tst_MivoBuddyType::aPointerPrintsAddressIdAndDisplayName()
{
    MivoBuddyType type("a\"b\n", "Jabber");
    MivoBuddyType* const pointer = &type;
    const QString address = "0x" + QString::number(quintptr(pointer), 16);
    compareDebugText(pointer, address + " MivoBuddyType(\"a\"b\n\", \"Jabber\") ");
}

void tst_MivoBuddyType::aListPrintsItsElementsAndTheirCount()
{
    MivoBuddyType a("a", "A");
    MivoBuddyType b;
    const QString printedA
        = "0x" + QString::number(quintptr(&a), 16) + " MivoBuddyType(\"a\", \"A\") ";
    const QString printedB
        = "0x" + QString::number(quintptr(&b), 16) + " MivoBuddyType(\"\", \"\") ";
    QList<MivoBuddyType*> types;
    compareDebugText(types, "QList<MivoBuddyType *> (\n) element count:  0 \n ");
    types << &a;
    compareDebugText(types,
                     "QList<MivoBuddyType *> (\n\t" + printedA + "\n ) element count:  1 \n ");
    types << &b;
    compareDebugText(types,
                     "QList<MivoBuddyType *> (\n\t" + printedA + "\n \t " + printedB
                         + "\n ) element count:  2 \n ");
}

QTEST_GUILESS_MAIN(tst_MivoBuddyType)
#include "tst_mivobuddytype.moc"
