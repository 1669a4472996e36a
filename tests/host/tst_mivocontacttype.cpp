#include <MivoBuddyContact.h>
#include <MivoBuddyGroup.h>
#include <MivoContactType.h>
#include <MivoField.h>
#include <MivoPresenceType.h>
#include <MivoSecret.h>

#include <QtTest>

class MivoContactTypeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsAddedStandsInTheTypeInItsOrder();
    void anIdIsAddedOnce();
    void whatIsAddedLivesAsLongAsTheType();
    void anInvalidTypeHasAndTakesNothing();
    void theUsualFlagsAreCountedAsTheLibraryDoes();
    void secretsAreOfKindEightAndLeftOut();
};

void MivoContactTypeTest::whatIsAddedStandsInTheTypeInItsOrder()
{
    MivoContactType maker("jabber", "Jabber");
    MivoPresenceType* const online
        = maker.addPresence("online", "Online", 10, MivoContactType::Online, "online.png");
    MivoPresenceType* const own = maker.addPresence("gaming", "Gaming", 5, 1000);
    QVERIFY(maker.addSubscription(MivoSubscriptionType("Both", "both", 1, "both.png")));
    maker.addExtraInfoField(MivoField(MivoField::LineEdit, "City", "city", "", 10, "home"));

    QCOMPARE(online->id, QString("online"));
    QCOMPARE(online->display, QString("Online"));
    QCOMPARE(online->icon, QString("online.png"));
    QCOMPARE(online->priority, 10u);
    QCOMPARE(int(online->flag), 1);
    QCOMPARE(int(own->flag), 1000);
    QCOMPARE(own->icon, QString());
    QCOMPARE(maker.presences(), QList<MivoPresenceType*>({online, own}));
    QCOMPARE(maker.presence("gaming"), own);
    QVERIFY(!maker.presence("away"));

    const MivoBuddyType type = maker.type();
    QCOMPARE(type.getId(), QString("jabber"));
    QCOMPARE(type.getDisplay(), QString("Jabber"));
    QCOMPARE(type.getSubscriptionWithId("both").getIcon(), QString("both.png"));
    QCOMPARE(type.getExtraInfoFields().size(), 1);
    QCOMPARE(type.getExtraInfoFields().at(0).getId(), QString("city"));
}

void MivoContactTypeTest::anIdIsAddedOnce()
{
    MivoContactType maker("jabber", "Jabber");
    MivoPresenceType* const online
        = maker.addPresence("online", "Online", 10, MivoContactType::Online);
    QVERIFY(!maker.addPresence("online", "Again", 1, MivoContactType::Away));
    QCOMPARE(maker.presences(), QList<MivoPresenceType*>({online}));
    QCOMPARE(maker.presence("online")->display, QString("Online"));
    QVERIFY(maker.addSubscription(MivoSubscriptionType("Both", "both", 1, "")));
    QVERIFY(!maker.addSubscription(MivoSubscriptionType("Again", "both", 1, "")));
    QCOMPARE(maker.type().getSubscriptionWithId("both").getDisplay(), QString("Both"));
}

void MivoContactTypeTest::whatIsAddedLivesAsLongAsTheType()
{
    MivoBuddyType kept;
    MivoPresenceType* online = nullptr;
    {
        MivoContactType maker("jabber", "Jabber");
        online = maker.addPresence("online", "Online", 10, MivoContactType::Online);
        kept = maker.type();
    }
    QCOMPARE(MivoContactType(kept).presence("online"), online);
    QCOMPARE(online->display, QString("Online")); // the address sanitizer would tell otherwise
}

void MivoContactTypeTest::anInvalidTypeHasAndTakesNothing()
{
    MivoContactType none{MivoBuddyType()};
    QVERIFY(!none.addPresence("online", "Online", 1, MivoContactType::Online));
    QVERIFY(!none.addSubscription(MivoSubscriptionType("Both", "both", 1, "")));
    none.addExtraInfoField(MivoField("A text", "text", ""));
    QVERIFY(!none.presence("online"));
    QVERIFY(none.presences().isEmpty());
    QVERIFY(!none.type().isValid());
}

void MivoContactTypeTest::theUsualFlagsAreCountedAsTheLibraryDoes()
{
    QCOMPARE(int(MivoContactType::Offline), int(MivoPresence::Offline));
    MivoContactType maker("jabber", "Jabber");
    maker.addPresence("online", "Online", 10, MivoContactType::Online);
    maker.addPresence("invisible", "Invisible", 1, MivoContactType::Invisible);
    maker.addPresence("offline", "Offline", 0, MivoContactType::Offline);
    MivoBuddyGroup group("Friends");
    const QList<MivoPresenceType*> presences = maker.presences();
    for (MivoPresenceType* presence : presences)
        group.addBuddy(MivoBuddyContact(nullptr, presence->id, presence->id, maker.type(),
                                        MivoPresence(presence, QString()),
                                        MivoSubscriptionType("Both", "both", 1, "")));
    QCOMPARE(group.childCount(), 3);
    QCOMPARE(group.onlineChildCount(), 2);
    group.clear();
}

void MivoContactTypeTest::secretsAreOfKindEightAndLeftOut()
{
    QCOMPARE(int(MivoSecretField), 8);
    const MivoField name(MivoField::LineEdit, "Name", "name", "ann", 10, "");
    const MivoField password(MivoSecretField, "Password", "password", "hush", 10, "");
    QVERIFY(mivoIsSecret(password));
    QVERIFY(!mivoIsSecret(name));
    QVERIFY(!mivoIsSecret(MivoField()));
    const QList<MivoField> open = mivoWithoutSecrets({password, name, password});
    QCOMPARE(open.size(), 1);
    QCOMPARE(open.first().getId(), QString("name"));
}

QTEST_GUILESS_MAIN(MivoContactTypeTest)
#include "tst_mivocontacttype.moc"
