#include "TestBuddies.h"

#include "MivoAccountConnection.h"
#include "MivoBuddyResourceType.h"

#include <QtTest>

namespace {

MivoBuddyContact contactOf(MivoAccountConnection* account, const QString& id)
{
    return MivoBuddyContact(account, id, id + " shown", MivoBuddyType(), MivoPresence(nullptr, id),
                            anySubscription());
}

} // namespace

class tst_MivoBuddyMerged : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInvalidEntryAnswersDefaults();
    void withoutContactsItAnswersDefaults();
    void theFirstContactSpeaksForAll();
    void throughTheBaseItAnswersItsOwnName();
    void withoutANameItIsCalledByTheFirstContactsId_data();
    void withoutANameItIsCalledByTheFirstContactsId();
    void accountsAreListedWithDuplicates();
    void theFirstContactOfAnAccountIsFound();
    void onlyAMemberItselfIsContained();
    void theContactsAreReplacedForEveryHandle();
    void theContactsAreKeptAliveAndKeepTheirParents();
};

void tst_MivoBuddyMerged::anInvalidEntryAnswersDefaults()
{
    MivoBuddyMerged merged(MivoBuddy(MivoBuddyGroup("no merged contact")));
    QVERIFY(!merged.isValid());
    QVERIFY(merged.getDisplay().isNull());
    QVERIFY(merged.getId().isNull());
    QVERIFY(merged.getAvatarPath().isNull());
    QVERIFY(merged.getPresence() == MivoPresence());
    QVERIFY(merged.getResources().isEmpty());
    QVERIFY(!merged.getParent().isValid());
    QVERIFY(merged.getAccounts().isEmpty());
    QVERIFY(!merged.getContactForAccount(nullptr).isValid());
    QVERIFY(!merged.containsContact(MivoBuddyContact()));
    merged.setContacts(QList<MivoBuddyContact>() << makeContact("a"));
    QVERIFY(!merged.isValid());
    QVERIFY(merged.getAccounts().isEmpty());
}

void tst_MivoBuddyMerged::withoutContactsItAnswersDefaults()
{
    const MivoBuddyMerged merged("Ann", QList<MivoBuddyContact>());
    QVERIFY(merged.isValid());
    QCOMPARE(merged.getType(), MivoBuddy::Merged);
    QCOMPARE(MivoBuddy(merged).getDisplay(), QString("Ann"));
    QVERIFY(merged.getDisplay().isNull());
    QVERIFY(merged.getId().isNull());
    QVERIFY(merged.getAvatarPath().isNull());
    QVERIFY(merged.getPresence() == MivoPresence());
    QVERIFY(merged.getResources().isEmpty());
    QVERIFY(!merged.getParent().isValid());
    QVERIFY(merged.getAccounts().isEmpty());
    QVERIFY(!merged.getContactForAccount(nullptr).isValid());
}

void tst_MivoBuddyMerged::theFirstContactSpeaksForAll()
{
    MivoBuddyResourceType phone("Phone", "");
    MivoBuddyContact first = contactOf(nullptr, "a");
    MivoBuddyContact second = contactOf(nullptr, "b");
    first.setAvatarPath("a.png");
    first.setResources(QList<MivoBuddyResource>() << MivoBuddyResource(&phone, MivoPresence()));
    second.setAvatarPath("b.png");
    const MivoBuddyMerged merged("Ann", QList<MivoBuddyContact>() << first << second);
    QCOMPARE(merged.getDisplay(), QString("a shown"));
    QCOMPARE(merged.getId(), QString("a"));
    QCOMPARE(merged.getAvatarPath(), QString("a.png"));
    QCOMPARE(merged.getPresence().getDescription(), QString("a"));
    QCOMPARE(int(merged.getResources().size()), 1);
    QCOMPARE(merged.getResources().at(0).getName(), QString("Phone"));
}

void tst_MivoBuddyMerged::throughTheBaseItAnswersItsOwnName()
{
    const MivoBuddyMerged merged("Ann", QList<MivoBuddyContact>() << contactOf(nullptr, "a"));
    const MivoBuddy& base = merged;
    QCOMPARE(base.getDisplay(), QString("Ann"));
    QCOMPARE(merged.getDisplay(), QString("a shown"));
}

void tst_MivoBuddyMerged::withoutANameItIsCalledByTheFirstContactsId_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<bool>("withContacts");
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << "" << true << "a";
    QTest::newRow("null") << QString() << true << "a";
    QTest::newRow("given") << "Ann" << true << "Ann";
    QTest::newRow("empty, no contacts") << "" << false << "";
    QTest::newRow("given, no contacts") << "Ann" << false << "Ann";
}

void tst_MivoBuddyMerged::withoutANameItIsCalledByTheFirstContactsId()
{
    QFETCH(QString, display);
    QFETCH(bool, withContacts);
    QFETCH(QString, name);
    QList<MivoBuddyContact> contacts;
    if (withContacts)
        contacts << contactOf(nullptr, "a") << contactOf(nullptr, "b");
    QCOMPARE(MivoBuddy(MivoBuddyMerged(display, contacts)).getDisplay(), name);
}

void tst_MivoBuddyMerged::accountsAreListedWithDuplicates()
{
    MivoAccountConnection a("a", "A");
    MivoAccountConnection b("b", "B");
    const MivoBuddyMerged merged("",
                                 QList<MivoBuddyContact>()
                                     << contactOf(&a, "1") << contactOf(&b, "2")
                                     << contactOf(&a, "3") << MivoBuddyContact());
    QCOMPARE(merged.getAccounts(), QList<MivoAccountConnection*>() << &a << &b << &a << nullptr);
}

void tst_MivoBuddyMerged::theFirstContactOfAnAccountIsFound()
{
    MivoAccountConnection a("a", "A");
    MivoAccountConnection b("b", "B");
    MivoAccountConnection c("c", "C");
    const MivoBuddyContact first = contactOf(&a, "1");
    const MivoBuddyContact second = contactOf(&b, "2");
    const MivoBuddyMerged merged(
        "", QList<MivoBuddyContact>() << first << second << contactOf(&a, "3"));
    QVERIFY(merged.getContactForAccount(&a) == first);
    QVERIFY(merged.getContactForAccount(&b) == second);
    QVERIFY(!merged.getContactForAccount(&c).isValid());
    QVERIFY(!merged.getContactForAccount(nullptr).isValid());
}

void tst_MivoBuddyMerged::onlyAMemberItselfIsContained()
{
    const MivoBuddyContact member = makeContact("a");
    const MivoBuddyContact second = makeContact("b");
    const MivoBuddyMerged merged = makeMerged(QList<MivoBuddyContact>() << member << second);
    QVERIFY(merged.containsContact(member));
    QVERIFY(merged.containsContact(second));
    QVERIFY(!merged.containsContact(makeContact("a")));
    QVERIFY(!merged.containsContact(MivoBuddyContact()));
}

void tst_MivoBuddyMerged::theContactsAreReplacedForEveryHandle()
{
    MivoBuddyMerged merged("", QList<MivoBuddyContact>() << contactOf(nullptr, "a"));
    const MivoBuddyMerged other(merged);
    merged.setContacts(QList<MivoBuddyContact>() << contactOf(nullptr, "b"));
    QCOMPARE(other.getId(), QString("b"));
    QCOMPARE(MivoBuddy(other).getDisplay(), QString("a"));
}

void tst_MivoBuddyMerged::theContactsAreKeptAliveAndKeepTheirParents()
{
    const Witness name("Ann");
    MivoBuddyContact contact = makeContact(name.name());
    MivoBuddyMerged merged = makeMerged(QList<MivoBuddyContact>() << contact);
    QCOMPARE(handlesOf(contact), 2);
    QVERIFY(!contact.getParent().isValid());
    contact = MivoBuddyContact();
    QVERIFY(name.sees());
    merged = MivoBuddyMerged();
    QVERIFY(!name.sees());
}

QTEST_GUILESS_MAIN(tst_MivoBuddyMerged)
#include "tst_mivobuddymerged.moc"
