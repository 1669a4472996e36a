#include "TestBuddies.h"

#include "MivoAccountConnection.h"
#include "MivoBuddyResourceType.h"

#include <QtTest>

class tst_MivoBuddyTemporary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anInvalidEntryAnswersDefaults();
    void aNewEntryHasWhatItWasGiven();
    void theConstructorDoesNotEnterTheGroup();
    void theSettersChangeTheSharedRecord();
};

void tst_MivoBuddyTemporary::anInvalidEntryAnswersDefaults()
{
    MivoBuddyTemporary temporary(MivoBuddy(MivoBuddyGroup("no temporary contact")));
    QVERIFY(!temporary.isValid());
    temporary.setPresence(MivoPresence(nullptr, "x"));
    temporary.setResources(QList<MivoBuddyResource>() << MivoBuddyResource());
    QVERIFY(!temporary.getAccount());
    QVERIFY(temporary.getId().isNull());
    QVERIFY(temporary.getPresence() == MivoPresence());
    QVERIFY(!temporary.getGroup().isValid());
    QVERIFY(temporary.getResources().isEmpty());
}

void tst_MivoBuddyTemporary::aNewEntryHasWhatItWasGiven()
{
    MivoAccountConnection account("a", "A");
    const MivoBuddyGroup group("Strangers");
    const MivoBuddyTemporary temporary(&account, "eve@x", MivoPresence(nullptr, "hi"), group);
    QVERIFY(temporary.isValid());
    QCOMPARE(temporary.getType(), MivoBuddy::Temporary);
    QCOMPARE(MivoBuddy(temporary).getDisplay(), QString("eve@x"));
    QCOMPARE(temporary.getAccount(), &account);
    QCOMPARE(temporary.getId(), QString("eve@x"));
    QCOMPARE(temporary.getPresence().getDescription(), QString("hi"));
    QVERIFY(temporary.getGroup() == group);
    QVERIFY(temporary.getResources().isEmpty());
}

void tst_MivoBuddyTemporary::theConstructorDoesNotEnterTheGroup()
{
    const MivoBuddyGroup group("Strangers");
    const MivoBuddyTemporary temporary(nullptr, "eve@x", MivoPresence(), group);
    QCOMPARE(group.childCount(), 0);
    QVERIFY(!group.containsBuddy(temporary));
}

void tst_MivoBuddyTemporary::theSettersChangeTheSharedRecord()
{
    MivoBuddyResourceType phone("Phone", "");
    MivoBuddyTemporary temporary = makeTemporary("eve@x");
    const MivoBuddyTemporary other(temporary);
    temporary.setPresence(MivoPresence(nullptr, "bye"));
    temporary.setResources(QList<MivoBuddyResource>() << MivoBuddyResource(&phone, MivoPresence()));
    QCOMPARE(other.getPresence().getDescription(), QString("bye"));
    QCOMPARE(int(other.getResources().size()), 1);
    QCOMPARE(other.getResources().at(0).getName(), QString("Phone"));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyTemporary)
#include "tst_mivobuddytemporary.moc"
