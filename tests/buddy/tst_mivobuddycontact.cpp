#include "TestBuddies.h"
#include "TestErrors.h"

#include "MivoAccountConnection.h"
#include "MivoBuddyResourceType.h"
#include "MivoBuddyType_p.h"
#include "MivoPluginAction.h"

#include <QtTest>

#include <deque>

namespace {

MivoField lineEdit(const QString& id, const QString& text)
{
    return MivoField(MivoField::LineEdit, "label", id, text, 99, "group");
}

/** A contact type with the fields "nick" (empty) and "age" (18). */
MivoBuddyType typeWithFields()
{
    MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate::get(type)->extraInfoFields
        << lineEdit("nick", "") << MivoField("Age", "age", 150, 0, 18, "group");
    return type;
}

MivoBuddyContact contactOf(const MivoBuddyType& type)
{
    return MivoBuddyContact(nullptr, "ann@x", "Ann", type, MivoPresence(), anySubscription());
}

QStringList idsOf(const QList<MivoField>& fields)
{
    QStringList ids;
    for (const MivoField& field : fields)
        ids << (field.isNull() ? QString("null") : field.getId());
    return ids;
}

} // namespace

class tst_MivoBuddyContact : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInvalidContactAnswersDefaults();
    void changingAnInvalidContactDoesNothing();
    void aNewContactHasWhatItWasGiven();
    void theSettersChangeTheSharedRecord();
    void theContactKeepsItsTypeAlive();
    void theActiveResourceIsTheFirstOfTheHighestPriority_data();
    void theActiveResourceIsTheFirstOfTheHighestPriority();
    void theSubscriptionsIconComesBeforeThePresences_data();
    void theSubscriptionsIconComesBeforeThePresences();
    void anAttributeThatWasNotSetIsEmpty();
    void attributesAreReplacedAsAWhole();
    void theFieldsAreTheContactsOwnCopies();
    void ofFieldsWithOneIdTheLastCounts();
    void theTypeDecidesWhichFieldsAreShown();
    void aFieldThatTheTypeGotLaterIsAddedAsANullField();
    void aValueIsWrittenIntoTheFieldOfItsId();
    void anUnknownIdIsRefusedAndAddsNothing();
    void aValueOfAnotherKindThrowsAndChangesNothing();
    void severalValuesAreWrittenAndUnknownIdsSkipped();
    void aLabelAmongTheValuesThrows();
    void aLabelOfAnUnknownIdIsSkipped();
    void anInvalidContactSkipsLabels();
};

void tst_MivoBuddyContact::anInvalidContactAnswersDefaults()
{
    const MivoBuddyContact contact(MivoBuddyGroup("no contact"));
    QVERIFY(!contact.isValid());
    QVERIFY(!contact.getAccount());
    QVERIFY(contact.getId().isNull());
    QVERIFY(contact.getTypeId().isNull());
    QVERIFY(contact.getPresence() == MivoPresence());
    QVERIFY(contact.getSubscription().getDisplay().isNull());
    QVERIFY(contact.getSubscription().getId().isNull());
    QVERIFY(contact.getSubscription().getIcon().isNull());
    QCOMPARE(contact.getSubscription().getPriority(), 0U);
    QVERIFY(contact.getResources().isEmpty());
    QVERIFY(!contact.getActiveResource().isValid());
    QVERIFY(contact.getAvatarPath().isNull());
    QVERIFY(contact.getPresenceIcon().isNull());
    QVERIFY(!contact.getParent().isValid());
    QCOMPARE(contact.getAttrib("x").getType(), MivoArg::None);
    QVERIFY(contact.getAttribs().isEmpty());
    QVERIFY(contact.getExtraInfo().isEmpty());
}

void tst_MivoBuddyContact::changingAnInvalidContactDoesNothing()
{
    MivoAccountConnection account("a", "A");
    MivoBuddyContact contact;
    contact.setAccount(&account);
    contact.setPresence(MivoPresence(nullptr, "x"));
    contact.setSubscription(anySubscription());
    contact.setResources(QList<MivoBuddyResource>() << MivoBuddyResource());
    contact.setAvatarPath("path");
    contact.setAttribs({{"x", MivoArg(1)}});
    QVERIFY(!contact.setFieldValue("x", MivoArg(1)));
    contact.setFieldValues(QList<MivoField>() << lineEdit("x", "y"));
    QVERIFY(!contact.isValid());
    QVERIFY(!contact.getAccount());
    QVERIFY(contact.getAttribs().isEmpty());
}

void tst_MivoBuddyContact::aNewContactHasWhatItWasGiven()
{
    MivoAccountConnection account("a", "A");
    MivoPresenceType away{"Away", "away", "away.png", 3, MivoPresence::Flag(2)};
    const MivoPresence presence(&away, "lunch");
    const MivoBuddyContact contact(&account, "ann@x", "Ann", MivoBuddyType("jabber", "Jabber"),
                                   presence, anySubscription());
    QVERIFY(contact.isValid());
    QCOMPARE(contact.getType(), MivoBuddy::Contact);
    QCOMPARE(contact.getDisplay(), QString("Ann"));
    QCOMPARE(contact.getAccount(), &account);
    QCOMPARE(contact.getId(), QString("ann@x"));
    QCOMPARE(contact.getTypeId(), QString("jabber"));
    QVERIFY(contact.getPresence() == presence);
    QCOMPARE(contact.getSubscription().getId(), QString("both"));
    QVERIFY(contact.getResources().isEmpty());
    QVERIFY(contact.getAvatarPath().isEmpty());
    QVERIFY(!contact.getParent().isValid());
    QVERIFY(contact.getAttribs().isEmpty());
    QVERIFY(contact.getExtraInfo().isEmpty());
    QVERIFY(!MivoBuddyContactPrivate::get(contact)->resource.isValid());
    QCOMPARE(contact.unreadMessages(), 0);
}

void tst_MivoBuddyContact::theSettersChangeTheSharedRecord()
{
    MivoAccountConnection account("a", "A");
    MivoBuddyResourceType phone("Phone", "");
    MivoBuddyContact contact = makeContact("a");
    const MivoBuddyContact other(contact);
    contact.setAccount(&account);
    contact.setPresence(MivoPresence(nullptr, "back soon"));
    contact.setSubscription(MivoSubscriptionType("To", "to", 1, "to.png"));
    contact.setResources(QList<MivoBuddyResource>() << MivoBuddyResource(&phone, MivoPresence()));
    contact.setAvatarPath("a.png");
    QCOMPARE(other.getAccount(), &account);
    QCOMPARE(other.getPresence().getDescription(), QString("back soon"));
    QCOMPARE(other.getSubscription().getId(), QString("to"));
    QCOMPARE(int(other.getResources().size()), 1);
    QCOMPARE(other.getResources().at(0).getName(), QString("Phone"));
    QCOMPARE(other.getAvatarPath(), QString("a.png"));
}

void tst_MivoBuddyContact::theContactKeepsItsTypeAlive()
{
    const Witness name("Away");
    {
        MivoPresenceType* const away
            = new MivoPresenceType{name.name(), "away", "", 0, MivoPresence::NoFlag};
        MivoBuddyContact contact;
        {
            const MivoBuddyType type("jabber", "Jabber");
            MivoBuddyTypePrivate::get(type)->presences.insert("away", away);
            contact = contactOf(type);
        }
        contact.setPresence(MivoPresence(away, ""));
        QCOMPARE(contact.getPresence().getId(), QString("away"));
        QVERIFY(name.sees());
    }
    QVERIFY(!name.sees());
}

void tst_MivoBuddyContact::theActiveResourceIsTheFirstOfTheHighestPriority_data()
{
    QTest::addColumn<QList<uint>>("priorities");
    QTest::addColumn<int>("active");
    QTest::newRow("none") << QList<uint>() << -1;
    QTest::newRow("one of priority 0") << (QList<uint>() << 0) << 0;
    QTest::newRow("5 and 5") << (QList<uint>() << 5 << 5) << 0;
    QTest::newRow("3 and 7") << (QList<uint>() << 3 << 7) << 1;
    QTest::newRow("7 and 3") << (QList<uint>() << 7 << 3) << 0;
    QTest::newRow("1, 9, 9, 2") << (QList<uint>() << 1 << 9 << 9 << 2) << 1;
    QTest::newRow("highest signed") << (QList<uint>() << 1 << 0x7FFFFFFF) << 1;
    QTest::newRow("lowest signed") << (QList<uint>() << 0x80000000U) << -1;
    QTest::newRow("as the invalid one") << (QList<uint>() << 0xFFFFFFFFU) << -1;
    QTest::newRow("0 beats all negative") << (QList<uint>() << 0xFFFFFFFFU << 0) << 1;
}

void tst_MivoBuddyContact::theActiveResourceIsTheFirstOfTheHighestPriority()
{
    QFETCH(QList<uint>, priorities);
    QFETCH(int, active);
    std::deque<MivoPresenceType> presences;
    std::deque<MivoBuddyResourceType> types;
    QList<MivoBuddyResource> resources;
    resources << MivoBuddyResource();
    for (const uint priority : priorities) {
        presences.push_back({"", "", "", priority, MivoPresence::NoFlag});
        types.emplace_back(QString::number(types.size()), "");
        resources << MivoBuddyResource(&types.back(), MivoPresence(&presences.back(), ""));
    }
    MivoBuddyContact contact = makeContact("a");
    contact.setResources(resources);
    const MivoBuddyResource found = contact.getActiveResource();
    QCOMPARE(found.isValid(), active >= 0);
    QCOMPARE(found.getName(), active < 0 ? QString() : QString::number(active));
}

void tst_MivoBuddyContact::theSubscriptionsIconComesBeforeThePresences_data()
{
    QTest::addColumn<QString>("subscriptionIcon");
    QTest::addColumn<bool>("present");
    QTest::addColumn<QString>("icon");
    QTest::newRow("both") << "s.png" << true << "s.png";
    QTest::newRow("presence only") << "" << true << "p.png";
    QTest::newRow("presence only, null") << QString() << true << "p.png";
    QTest::newRow("subscription only") << "s.png" << false << "s.png";
    QTest::newRow("neither") << "" << false << QString();
}

void tst_MivoBuddyContact::theSubscriptionsIconComesBeforeThePresences()
{
    QFETCH(QString, subscriptionIcon);
    QFETCH(bool, present);
    QFETCH(QString, icon);
    MivoPresenceType away{"Away", "away", "p.png", 3, MivoPresence::Flag(2)};
    MivoBuddyContact contact = makeContact("a", present ? &away : nullptr);
    contact.setSubscription(MivoSubscriptionType("d", "i", 0, subscriptionIcon));
    QCOMPARE(contact.getPresenceIcon(), icon);
}

void tst_MivoBuddyContact::anAttributeThatWasNotSetIsEmpty()
{
    MivoBuddyContact contact = makeContact("a");
    QCOMPARE(contact.getAttrib("x").getType(), MivoArg::None);
    QVERIFY(contact.getAttribs().isEmpty());
}

void tst_MivoBuddyContact::attributesAreReplacedAsAWhole()
{
    MivoBuddyContact contact = makeContact("a");
    const MivoBuddyContact other(contact);
    contact.setAttribs({{"x", MivoArg(1)}, {"y", MivoArg(QString("old"))}});
    QCOMPARE(other.getAttrib("x").toInt(), 1);
    const QHash<QString, MivoArg> attribs{{"y", MivoArg(2)}};
    contact.setAttribs(attribs);
    QVERIFY(other.getAttribs() == attribs);
    QCOMPARE(other.getAttrib("y").toInt(), 2);
    QCOMPARE(other.getAttrib("x").getType(), MivoArg::None);
    contact.setAttribs(MivoBuddyContactPrivate::get(contact)->attribs);
    QVERIFY(other.getAttribs() == attribs);
}

void tst_MivoBuddyContact::theFieldsAreTheContactsOwnCopies()
{
    const MivoBuddyType type = typeWithFields();
    MivoBuddyContact ann = contactOf(type);
    const MivoBuddyContact bob = contactOf(type);
    QVERIFY(ann.setFieldValue("nick", MivoArg(QString("Annie"))));
    QCOMPARE(ann.getExtraInfo().at(0).getText(), QString("Annie"));
    QCOMPARE(bob.getExtraInfo().at(0).getText(), QString());
    QCOMPARE(type.getExtraInfoFields().at(0).getText(), QString());
}

void tst_MivoBuddyContact::ofFieldsWithOneIdTheLastCounts()
{
    const MivoBuddyType type("jabber", "Jabber");
    MivoBuddyTypePrivate::get(type)->extraInfoFields << lineEdit("nick", "first")
                                                     << lineEdit("nick", "last");
    const QList<MivoField> fields = contactOf(type).getExtraInfo();
    QCOMPARE(int(fields.size()), 2);
    QCOMPARE(fields.at(0).getText(), QString("last"));
    QCOMPARE(fields.at(1).getText(), QString("last"));
}

void tst_MivoBuddyContact::theTypeDecidesWhichFieldsAreShown()
{
    const MivoBuddyType type = typeWithFields();
    MivoBuddyContact contact = contactOf(type);
    QCOMPARE(idsOf(contact.getExtraInfo()), QStringList({"nick", "age"}));
    MivoBuddyTypePrivate::get(type)->extraInfoFields.swapItemsAt(0, 1);
    QCOMPARE(idsOf(contact.getExtraInfo()), QStringList({"age", "nick"}));
    MivoBuddyTypePrivate::get(type)->extraInfoFields.removeFirst();
    QCOMPARE(idsOf(contact.getExtraInfo()), QStringList({"nick"}));
    QVERIFY(contact.setFieldValue("age", MivoArg(20)));
}

void tst_MivoBuddyContact::aFieldThatTheTypeGotLaterIsAddedAsANullField()
{
    const MivoBuddyType type = typeWithFields();
    const MivoBuddyContact contact = contactOf(type);
    MivoBuddyTypePrivate::get(type)->extraInfoFields << lineEdit("late", "x");
    QVERIFY(!MivoBuddyContactPrivate::get(contact)->extraInfo.contains("late"));
    QCOMPARE(idsOf(contact.getExtraInfo()), QStringList({"nick", "age", "null"}));
    QVERIFY(MivoBuddyContactPrivate::get(contact)->extraInfo.contains("late"));
    QVERIFY(MivoBuddyContactPrivate::get(contact)->extraInfo.value("late").isNull());
    QVERIFY(MivoBuddyContact(contact).setFieldValue("late", MivoArg(1)));
}

void tst_MivoBuddyContact::aValueIsWrittenIntoTheFieldOfItsId()
{
    MivoBuddyContact contact = contactOf(typeWithFields());
    QVERIFY(contact.setFieldValue("age", MivoArg(20)));
    QCOMPARE(contact.getExtraInfo().at(1).getIntValue(), 20);
    QVERIFY(contact.setFieldValue("age", MivoArg(20)));
    QCOMPARE(contact.getExtraInfo().at(1).getIntValue(), 20);
}

void tst_MivoBuddyContact::anUnknownIdIsRefusedAndAddsNothing()
{
    MivoBuddyContact contact = contactOf(typeWithFields());
    const QList<MivoField> before = contact.getExtraInfo();
    QVERIFY(!contact.setFieldValue("unknown", MivoArg(20)));
    QVERIFY(contact.getExtraInfo() == before);
    QCOMPARE(int(MivoBuddyContactPrivate::get(contact)->extraInfo.size()), 2);
}

void tst_MivoBuddyContact::aValueOfAnotherKindThrowsAndChangesNothing()
{
    MivoBuddyContact contact = contactOf(typeWithFields());
    QCOMPARE(errorOf([&] { contact.setFieldValue("age", MivoArg(QString("20"))); }),
             QString("MivoArg: cannot convert MivoArg::String to MivoArg::Int"));
    QCOMPARE(contact.getExtraInfo().at(1).getIntValue(), 18);
}

void tst_MivoBuddyContact::severalValuesAreWrittenAndUnknownIdsSkipped()
{
    MivoBuddyContact contact = contactOf(typeWithFields());
    contact.setFieldValues(QList<MivoField>()
                           << lineEdit("nick", "first") << lineEdit("what", "x")
                           << MivoField("", "age", 9, 0, 40, "") << lineEdit("nick", "last"));
    const QList<MivoField> fields = contact.getExtraInfo();
    QCOMPARE(fields.at(0).getText(), QString("last"));
    QCOMPARE(fields.at(1).getIntValue(), 40);
    QCOMPARE(fields.at(1).getSpinBoxMax(), 150);
    QCOMPARE(int(MivoBuddyContactPrivate::get(contact)->extraInfo.size()), 2);
}

void tst_MivoBuddyContact::aLabelAmongTheValuesThrows()
{
    const MivoBuddyType type = typeWithFields();
    MivoBuddyTypePrivate::get(type)->extraInfoFields << MivoField("Info", "info", "group");
    MivoBuddyContact contact = contactOf(type);
    QCOMPARE(errorOf([&] { contact.setFieldValues(contact.getExtraInfo()); }),
             QString("MivoArg: cannot convert MivoArg::None to MivoArg::String"));
}

void tst_MivoBuddyContact::aLabelOfAnUnknownIdIsSkipped()
{
    MivoBuddyContact contact = contactOf(typeWithFields());
    QCOMPARE(errorOf([&] {
                 contact.setFieldValues(QList<MivoField>() << MivoField("Info", "what", "group")
                                                           << lineEdit("nick", "Annie"));
             }),
             QString());
    QCOMPARE(contact.getExtraInfo().at(0).getText(), QString("Annie"));
    QVERIFY(!MivoBuddyContactPrivate::get(contact)->extraInfo.contains("what"));
}

void tst_MivoBuddyContact::anInvalidContactSkipsLabels()
{
    MivoBuddyContact contact;
    QCOMPARE(errorOf([&] {
                 contact.setFieldValues(QList<MivoField>() << MivoField("Info", "what", "group"));
             }),
             QString());
    QVERIFY(!contact.isValid());
}

QTEST_GUILESS_MAIN(tst_MivoBuddyContact)
#include "tst_mivobuddycontact.moc"
